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

// Into the caller's record: one that comes back in registers has to wait there for its own fields.
void ReadSystemTime(const FILETIME& fileTime, SYSTEMTIME& systemTime);

FILETIME ToLocalFileTime(const FILETIME& fileTime);

// The ticks of a local file time; none for one whose moment lies before 1601.
std::uint64_t ToUtcTicks(const FILETIME& local);

std::uint64_t ToTicks(const SYSTEMTIME& systemTime, bool isLocal);

} // namespace Quoll::Utilities
