// The clock as calendar fields, and the way between these and file times.
#include "platform/linux/Calendar.h"
#include "platform/linux/ErrnoTable.h"

#include <ctime>

using namespace Quoll::Platform;

namespace
{

std::uint64_t Ticks(const FILETIME& time) noexcept
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

} // namespace

void GetSystemTime(SYSTEMTIME* time) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto milliseconds = (now.tv_sec + SecondsToUnixEpoch) * 1000 + now.tv_nsec / 1'000'000;
    *time = ToSystemTime(static_cast<std::uint64_t>(milliseconds));
}

LONG CompareFileTime(const FILETIME* first, const FILETIME* second) noexcept
{
    const std::uint64_t one = Ticks(*first);
    const std::uint64_t other = Ticks(*second);
    return (one > other ? 1 : 0) - (one < other ? 1 : 0);
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime) noexcept
{
    if (!IsValid(*time))
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const auto ticks = static_cast<std::uint64_t>(ToMilliseconds(*time)) * TicksPerMillisecond;
    *fileTime = {.dwLowDateTime = static_cast<DWORD>(ticks), .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
    return TRUE;
}
