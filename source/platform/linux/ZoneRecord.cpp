#include "platform/linux/ZoneRecord.h"

#include "platform/linux/ZoneHistory.h"
#include "platform/linux/ZoneShift.h"

#include <algorithm>
#include <iterator>

namespace Quoll::Platform
{

namespace
{

constexpr std::int64_t SecondsPerDay = 86'400;

LONG Bias(const ZoneTime& time) noexcept
{
    const std::int64_t shifted = 30 - time.offset + 60 * SecondsPerDay; // positive, to round down
    return static_cast<LONG>(shifted / 60 - SecondsPerDay);
}

void Describe(const ZoneTime& standard, const ZoneTime& daylight, TIME_ZONE_INFORMATION& zone)
{
    const auto name = [](const ZoneTime& time, auto& field) {
        const std::size_t length = std::min(time.name.size(), std::size(field) - 1);
        std::transform(time.name.begin(), time.name.begin() + static_cast<std::ptrdiff_t>(length), field, [](char c) {
            return static_cast<unsigned char>(c) < 0x80 ? static_cast<WCHAR>(c) : WCHAR{'?'};
        });
    };
    zone.Bias = Bias(standard);
    zone.DaylightBias = Bias(daylight) - zone.Bias;
    name(standard, zone.StandardName);
    name(daylight, zone.DaylightName);
}

SYSTEMTIME OnceAt(std::int64_t localSecond) noexcept
{
    SYSTEMTIME date = ToSystemTime(static_cast<std::uint64_t>(std::max<std::int64_t>(localSecond, 0)) * 1000);
    date.wYear = std::min(date.wYear, static_cast<WORD>(LastYear));
    return date;
}

// A weekday's rule falls on its own day unless its second lies outside of it.
SYSTEMTIME EveryYearAt(const YearlyRule& rule, unsigned year) noexcept
{
    const bool endOfDay = rule.second == SecondsPerDay;
    const std::int64_t second = std::max<std::int64_t>(LocalMoment(rule, year), 1) - (endOfDay ? 1 : 0);
    SYSTEMTIME date = ToSystemTime(static_cast<std::uint64_t>(second) * 1000);
    date.wMilliseconds = endOfDay ? 999 : 0;
    const bool weekday = rule.kind == YearlyRule::Kind::Weekday;
    const bool last = (!weekday || rule.week == 5) && date.wDay + 7u > DaysInMonth(date.wYear, date.wMonth);
    const bool own = weekday && rule.second >= 0 && rule.second <= SecondsPerDay;
    const unsigned week = own ? rule.week : last ? 5u : (date.wDay - 1u) / 7u + 1u;
    date.wDay = static_cast<WORD>(week);
    date.wYear = 0;
    return date;
}

class Builder
{
public:
    Builder(const Zone& zone, std::int64_t now)
        : m_zone(zone)
        , m_history(zone, now)
        , m_now(now)
        , m_time(m_history.At(now))
        , m_next(m_history.After(now))
        , m_year(YearAt(now + m_time.offset))
    {
    }

    ZoneRecord Make()
    {
        if (!DescribeByRule() && !DescribeByChanges())
        {
            Describe(m_time, m_time, m_record.information);
        }
        m_record.id = ZoneIdAtUniversal(m_record.information, ToSystemTime(static_cast<std::uint64_t>(m_now) * 1000));
        m_record.from = YearStart(m_year) - m_time.offset;
        m_record.until = YearStart(m_year + 1) - m_time.offset;
        if (m_next > 0)
        {
            m_record.from = std::max(m_record.from, Changes()[m_next - 1].moment);
        }
        if (m_next < Changes().size())
        {
            m_record.until = std::min(m_record.until, Changes()[m_next].moment);
        }
        return m_record;
    }

private:
    const std::vector<ZoneChange>& Changes() const noexcept
    {
        return m_history.Changes();
    }

    // Whether there is such a change, and it falls into the year.
    bool IsOfYear(std::size_t index) const noexcept
    {
        return index < Changes().size() && YearAt(Changes()[index].LocalMoment()) == m_year;
    }

    // The rule stands for the year if it says no more and no less than what happens.
    bool DescribeByRule()
    {
        const std::size_t first = m_history.After(YearStart(m_year) - 2 * SecondsPerDay);
        const std::size_t start = first + (IsOfYear(first) ? 0 : 1);
        if (!m_zone.rule || !m_zone.rule->daylight || !IsOfYear(start) || !IsOfYear(start + 1) || IsOfYear(start + 2))
        {
            return false;
        }
        const ZoneRule& rule = *m_zone.rule;
        TIME_ZONE_INFORMATION zone{};
        zone.StandardDate = EveryYearAt(rule.daylightEnd, m_year);
        zone.DaylightDate = EveryYearAt(rule.daylightStart, m_year);
        const ZoneChange& one = Changes()[start];
        const ZoneChange& other = Changes()[start + 1];
        if (!(Says(zone, rule, *rule.daylight, one) && Says(zone, rule, *rule.daylight, other) &&
              one.after->offset != other.after->offset))
        {
            return false;
        }
        Describe(rule.standard, *rule.daylight, zone);
        m_record.information = zone;
        return true;
    }

    bool Says(const TIME_ZONE_INFORMATION& zone, const ZoneRule& rule, const ZoneTime& daylight,
              const ZoneChange& change) const noexcept
    {
        const bool toDaylight = change.after->offset == daylight.offset;
        const std::int32_t before = toDaylight ? rule.standard.offset : daylight.offset;
        const std::int32_t after = toDaylight ? daylight.offset : rule.standard.offset;
        std::int64_t moment = 0;
        return MomentOf(toDaylight ? zone.DaylightDate : zone.StandardDate, m_year, moment) &&
               (moment + 1) / 1000 == change.LocalMoment() && change.before->offset == before &&
               change.after->offset == after;
    }

    // Two changes that follow each other, of which this year has one at least, and which the present
    // lies between or beside. Outside of them the clocks show one time, as far as the record knows.
    bool DescribeByChanges()
    {
        const bool before = m_next > 0 && IsOfYear(m_next - 1);
        const bool after = IsOfYear(m_next);
        if (!before && !after)
        {
            return false;
        }
        std::size_t end = before && !after ? m_next - 1 : m_next;
        if (!before && IsOfYear(m_next + 1) && Changes()[m_next + 1].after->offset == m_time.offset)
        {
            end = m_next + 1;
        }
        const ZoneTime& between = *Changes()[end].before;
        const ZoneTime& outside = *Changes()[end].after;
        const std::int64_t start = end > 0 ? Changes()[end - 1].moment : YearStart(std::max(m_year - 1, FirstYear));
        const SYSTEMTIME toBetween = OnceAt(start + outside.offset);
        const SYSTEMTIME toOutside = OnceAt(Changes()[end].LocalMoment());
        const bool daylight = between.daylight || !outside.daylight;
        TIME_ZONE_INFORMATION& zone = m_record.information;
        Describe(daylight ? outside : between, daylight ? between : outside, zone);
        zone.StandardDate = daylight ? toOutside : toBetween;
        zone.DaylightDate = daylight ? toBetween : toOutside;
        return true;
    }

    const Zone& m_zone;
    ZoneHistory m_history;
    std::int64_t m_now;
    const ZoneTime& m_time;
    std::size_t m_next;
    unsigned m_year;
    ZoneRecord m_record;
};

} // namespace

ZoneRecord MakeZoneRecord(const Zone& zone, std::int64_t now)
{
    return Builder(zone, std::max<std::int64_t>(now, 0)).Make();
}

} // namespace Quoll::Platform
