// Zones as POSIX writes them in TZ: "CET-1CEST,M3.5.0,M10.5.0/3", with the hours up to 167 either way
// that RFC 9636 allows in a rule.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Quoll::Platform
{

/// What the clocks of a zone may show.
struct ZoneTime
{
    std::int32_t offset = 0; // seconds ahead of UTC
    bool daylight = false;
    std::string name = "UTC";
};

/// A day of every year, and the second of it, which may lie some days before or after.
struct YearlyRule
{
    enum class Kind
    {
        Weekday,      // the week-th dayOfWeek of a month, 5 being the last
        DayOfYear,    // 1 to 365; 29 February has no number
        ZeroBasedDay, // 0 to 365; 29 February counts
    };

    Kind kind = Kind::Weekday;
    unsigned month = 0;
    unsigned week = 0;
    unsigned day = 0; // of the week or of the year
    std::int32_t second = 0;
};

struct ZoneRule
{
    ZoneTime standard;
    std::optional<ZoneTime> daylight;
    YearlyRule daylightStart; // told in standard time
    YearlyRule daylightEnd;   // told in daylight time
};

/// Nothing if the text isn't wholly a rule. A daylight time without rules has those of the USA, as
/// the C library has it.
std::optional<ZoneRule> ParseZoneRule(std::string_view text);

/// Days since 1601-01-01 of the rule's day, without its second; the year is 1601 or later.
std::int64_t DayOf(const YearlyRule& rule, unsigned year) noexcept;

/// Seconds since 1601-01-01, by the clock that the rule is told in.
std::int64_t LocalMoment(const YearlyRule& rule, unsigned year) noexcept;

} // namespace Quoll::Platform
