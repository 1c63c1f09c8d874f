// Which of its two times a zone has, as the conversions with an explicit zone decide it.
#pragma once

#include "platform/linux/Calendar.h"

#include <windows.h>

namespace Quoll::Platform
{

constexpr std::int64_t MillisecondsPerMinute = 60'000;

/// The moment when a zone's date falls, in milliseconds since 1601-01-01 by the clock that it is told
/// in; the year counts only for a date that recurs. False if the fields are none.
bool MomentOf(const SYSTEMTIME& date, unsigned year, std::int64_t& milliseconds) noexcept;

/// TIME_ZONE_ID_UNKNOWN for a zone without dates, TIME_ZONE_ID_INVALID if they are wrong, else what
/// the zone has at that time, whose fields are valid.
DWORD ZoneIdAtUniversal(const TIME_ZONE_INFORMATION& zone, const SYSTEMTIME& time) noexcept;
DWORD ZoneIdAtLocal(const TIME_ZONE_INFORMATION& zone, const SYSTEMTIME& time) noexcept;

/// In minutes, from local time to UTC.
constexpr std::int64_t BiasOf(const TIME_ZONE_INFORMATION& zone, DWORD id) noexcept
{
    const LONG more = id == TIME_ZONE_ID_STANDARD   ? zone.StandardBias
                      : id == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias
                                                    : 0;
    return std::int64_t{zone.Bias} + more;
}

} // namespace Quoll::Platform
