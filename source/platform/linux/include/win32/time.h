// Pauses, clocks, calendar, zones, and identities of the caller.
#pragma once

#include "errors.h"
#include "types.h"

#include "platform/linux/Calendar.h"

#include <cstdint>

constexpr DWORD TIME_ZONE_ID_UNKNOWN = 0;
constexpr DWORD TIME_ZONE_ID_STANDARD = 1;
constexpr DWORD TIME_ZONE_ID_DAYLIGHT = 2;
constexpr DWORD TIME_ZONE_ID_INVALID = 0xFFFFFFFF;

/// A zone's rules. The biases are minutes that lead from local time to UTC. A date with wMonth 0 isn't
/// there; with wYear 0 it is the wDay-th wDayOfWeek of its month (5: the last) of every year; with a
/// year it is that one moment. StandardDate is told in daylight time, DaylightDate in standard time.
struct TIME_ZONE_INFORMATION
{
    LONG Bias;
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
};
using LPTIME_ZONE_INFORMATION = TIME_ZONE_INFORMATION*;

static_assert(sizeof(TIME_ZONE_INFORMATION) == 172);

extern "C"
{
    void Sleep(DWORD milliseconds) noexcept;
    ULONGLONG GetTickCount64() noexcept;
    // Counts tenths of microseconds, those that the machine was asleep as well, and never fails.
    BOOL QueryPerformanceCounter(LARGE_INTEGER* count) noexcept;
    BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) noexcept;
    DWORD GetCurrentProcessId() noexcept;
    DWORD GetCurrentThreadId() noexcept;

    void GetSystemTime(SYSTEMTIME* time) noexcept;
    LONG CompareFileTime(const FILETIME* first, const FILETIME* second) noexcept;

    // A file time with the highest bit set, and fields that name no moment of the years 1601 to 30827,
    // are ERROR_INVALID_PARAMETER; nothing is written then. The day of the week isn't read.
    inline BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time) noexcept;
    BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime) noexcept;

    /// The zone is that of TZ, as the C library understands it: a file's name in the system's zone
    /// folder or an absolute one, each with or without a leading colon, or a POSIX rule; what is none of these is
    /// UTC. Without TZ, and in a privileged process whatever TZ says, it is /etc/localtime. A change of TZ
    /// shows at the next call, one of the zone's file or its rules within about a second.
    ///
    /// The rules are those of the current year. What is standard and what daylight time, and both
    /// names, are the zone data's own: Dublin's winter may be daylight time with a positive bias. A rule that
    /// recurs but has no such form (the Friday before the last Sunday) is given by the form that is
    /// right this year; midnight at a day's end is 23:59:59.999, as on Windows. Transitions without a
    /// rule that recurs have their year. Offsets are rounded to minutes.
    DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone) noexcept;

    // Without a zone the current one is taken. ERROR_INVALID_PARAMETER as above for the time given and
    // for a result outside of file times, and for a zone whose dates are no rules, or with DaylightDate alone. The
    // hour that is skipped in spring and the one that comes twice in autumn are both read as the time
    // with the greater offset: 02:30 is half an hour before the clock goes forward, and the first of
    // the two. Both pointers may name one time.
    BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* universal,
                                         SYSTEMTIME* local) noexcept;
    BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* local,
                                         SYSTEMTIME* universal) noexcept;
}

// Here, so that a caller pays for no field that it doesn't read.
inline BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time) noexcept
{
    const std::uint64_t ticks = std::uint64_t{fileTime->dwHighDateTime} << 32 | fileTime->dwLowDateTime;
    if (ticks > Quoll::Platform::MaximumTicks)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *time = Quoll::Platform::TicksToSystemTime(ticks);
    return TRUE;
}
