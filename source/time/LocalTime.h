// Ticks, file times, calendar fields and local time, one as another. Failures are Win32Exception with the
// texts that callers of UtcTime know.
#pragma once

#include <windows.h>

#include <cstdint>

namespace Quoll::Utilities
{

constexpr std::uint64_t ToTicks(const FILETIME& fileTime) noexcept
{
    return std::uint64_t{fileTime.dwHighDateTime} << 32 | fileTime.dwLowDateTime;
}

constexpr FILETIME ToFileTime(std::uint64_t ticks) noexcept
{
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

FILETIME ToLocalFileTime(const FILETIME& fileTime);

[[noreturn]] void ThrowNoSystemTime();

// The fields of ticks, told as UTC or as local time. Into the caller's record: one that comes back in
// registers has to wait there for its own fields.
inline void ReadSystemTime(std::uint64_t ticks, bool isLocal, SYSTEMTIME& systemTime)
{
    const FILETIME universal = ToFileTime(ticks);
    const FILETIME fileTime = isLocal ? ToLocalFileTime(universal) : universal;
    if (FileTimeToSystemTime(&fileTime, &systemTime) == FALSE)
    {
        ThrowNoSystemTime();
    }
}

// The ticks of a local file time; none for one whose moment lies before 1601.
std::uint64_t ToUtcTicks(const FILETIME& local);

std::uint64_t ToTicks(const SYSTEMTIME& systemTime, bool isLocal);

} // namespace Quoll::Utilities
