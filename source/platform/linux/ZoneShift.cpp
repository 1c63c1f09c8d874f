#include "platform/linux/ZoneShift.h"

#include <algorithm>
#include <array>
#include <bit>

namespace Quoll::Platform
{

namespace
{

constexpr std::int64_t MaximumMilliseconds = MaximumTicks / TicksPerMillisecond;

// Compares all fields at once: four of them lie in a word, and none borrows from its neighbour as long
// as its highest bit is set.
bool IsYearlyRule(const SYSTEMTIME& date) noexcept
{
    using Words = std::array<std::uint64_t, 2>;
    constexpr std::uint64_t high = 0x8000'8000'8000'8000;
    constexpr auto least = std::bit_cast<Words>(SYSTEMTIME{0, 1, 0, 1, 0, 0, 0, 0});
    constexpr auto most = std::bit_cast<Words>(SYSTEMTIME{0, 12, 6, 5, 23, 59, 59, 999});
    const auto fields = std::bit_cast<Words>(date);
    std::uint64_t good = high;
    for (std::size_t i = 0; i < 2; ++i)
    {
        good &= ~fields[i] & ((most[i] | high) - fields[i]) & ((fields[i] | high) - least[i]);
    }
    return good == high;
}

unsigned YearOf(std::int64_t milliseconds) noexcept
{
    const std::int64_t near = std::clamp(milliseconds, std::int64_t{0}, MaximumMilliseconds);
    return ToDate(static_cast<std::uint32_t>(near / MillisecondsPerDay)).year;
}

bool HasDates(const TIME_ZONE_INFORMATION& zone) noexcept
{
    return zone.DaylightDate.wMonth != 0;
}

constexpr bool IsWithinDay(std::int64_t bias) noexcept
{
    return bias >= -1440 && bias <= 1440;
}

bool IsMonthOfRule(const TIME_ZONE_INFORMATION& zone, unsigned month) noexcept
{
    return month == zone.StandardDate.wMonth || month == zone.DaylightDate.wMonth;
}

// Whether the months alone can decide, because both changes recur, and in different ones.
bool HaveMonths(const TIME_ZONE_INFORMATION& zone) noexcept
{
    return IsYearlyRule(zone.StandardDate) && IsYearlyRule(zone.DaylightDate) &&
           zone.StandardDate.wMonth != zone.DaylightDate.wMonth;
}

// The month that a shift of a day may lead to.
unsigned NearMonth(const SYSTEMTIME& time) noexcept
{
    if (time.wDay > 1 && time.wDay < 28)
    {
        return time.wMonth;
    }
    return time.wDay == 1 ? (time.wMonth + 10u) % 12 + 1 : time.wMonth % 12u + 1;
}

DWORD IdOfMonth(const TIME_ZONE_INFORMATION& zone, unsigned month) noexcept
{
    const unsigned toStandard = zone.StandardDate.wMonth;
    const unsigned toDaylight = zone.DaylightDate.wMonth;
    // Three comparisons tell the order of the three; an odd count of them is the daylight one.
    const bool daylight = (toDaylight < toStandard) == ((month > toDaylight) == (month < toStandard));
    return daylight ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

// Both changes of the year, each by the clock that it is told in.
struct Changes
{
    bool Find(const TIME_ZONE_INFORMATION& zone, unsigned year) noexcept
    {
        return MomentOf(zone.StandardDate, year, toStandard) && MomentOf(zone.DaylightDate, year, toDaylight);
    }

    DWORD IdAt(std::int64_t moment) const noexcept
    {
        const bool daylight = toDaylight < toStandard ? moment >= toDaylight && moment < toStandard
                                                      : moment < toStandard || moment >= toDaylight;
        return daylight ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
    }

    std::int64_t toStandard = 0;
    std::int64_t toDaylight = 0;
};

} // namespace

bool MomentOf(const SYSTEMTIME& date, unsigned year, std::int64_t& milliseconds) noexcept
{
    if (date.wYear != 0)
    {
        milliseconds = ToMilliseconds(date);
        return IsValid(date);
    }
    if (!IsYearlyRule(date))
    {
        return false;
    }
    const std::uint32_t days = WeekdayOfMonth(year, date.wMonth, date.wDay, date.wDayOfWeek);
    milliseconds = std::int64_t{days} * MillisecondsPerDay + MillisecondOfDay(date);
    return true;
}

DWORD ZoneIdAtUniversal(const TIME_ZONE_INFORMATION& zone, const SYSTEMTIME& time) noexcept
{
    if (!HasDates(zone))
    {
        return TIME_ZONE_ID_UNKNOWN;
    }
    const std::int64_t standard = BiasOf(zone, TIME_ZONE_ID_STANDARD);
    const std::int64_t daylight = BiasOf(zone, TIME_ZONE_ID_DAYLIGHT);
    const unsigned nearMonth = NearMonth(time);
    const bool small = IsWithinDay(standard) && IsWithinDay(daylight);
    if (small && HaveMonths(zone) && !IsMonthOfRule(zone, time.wMonth) && !IsMonthOfRule(zone, nearMonth))
    {
        return IdOfMonth(zone, time.wMonth);
    }
    const std::int64_t moment = ToMilliseconds(time);
    const bool sameYear = small && nearMonth == time.wMonth;
    const unsigned year = sameYear ? time.wYear : YearOf(moment - standard * MillisecondsPerMinute);
    Changes changes;
    if (!changes.Find(zone, year))
    {
        return TIME_ZONE_ID_INVALID;
    }
    changes.toStandard += daylight * MillisecondsPerMinute;
    changes.toDaylight += standard * MillisecondsPerMinute;
    return changes.IdAt(moment);
}

DWORD ZoneIdAtLocal(const TIME_ZONE_INFORMATION& zone, const SYSTEMTIME& time) noexcept
{
    if (!HasDates(zone))
    {
        return TIME_ZONE_ID_UNKNOWN;
    }
    if (HaveMonths(zone) && !IsMonthOfRule(zone, time.wMonth))
    {
        return IdOfMonth(zone, time.wMonth);
    }
    Changes changes;
    return changes.Find(zone, time.wYear) ? changes.IdAt(ToMilliseconds(time)) : TIME_ZONE_ID_INVALID;
}

} // namespace Quoll::Platform
