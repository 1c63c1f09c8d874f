#include "platform/linux/ZoneHistory.h"

#include "platform/linux/Calendar.h"

#include <algorithm>

namespace Quoll::Platform
{

namespace
{

constexpr std::int64_t SecondsPerDay = 86'400;

// What the clocks show before anything happens.
const ZoneTime& Beginning(const Zone& zone) noexcept
{
    return zone.transitions.empty() && zone.rule ? zone.rule->standard : zone.times.front();
}

} // namespace

ZoneHistory::ZoneHistory(const Zone& zone, std::int64_t now)
    : m_last(&Beginning(zone))
{
    for (const ZoneTransition& transition : zone.transitions)
    {
        Add(transition.moment, zone.times[transition.time]);
    }
    if (zone.rule && zone.rule->daylight)
    {
        const std::int64_t start = zone.transitions.empty() ? INT64_MIN : zone.transitions.back().moment;
        const unsigned year = YearAt(now);
        AddYears(*zone.rule, *zone.rule->daylight, start, std::max(year - 2, FirstYear), year + 2);
    }
}

void ZoneHistory::Add(std::int64_t moment, const ZoneTime& time)
{
    if (!m_changes.empty() && m_changes.back().moment >= moment) // it lasted no time
    {
        m_last = m_changes.back().before;
        m_changes.pop_back();
    }
    if (time.offset != m_last->offset)
    {
        m_changes.push_back({.moment = moment, .before = m_last, .after = &time});
    }
    else if (!m_changes.empty())
    {
        m_changes.back().after = &time; // the name may be another
    }
    m_last = &time;
}

void ZoneHistory::AddYears(const ZoneRule& rule, const ZoneTime& daylight, std::int64_t start, unsigned firstYear,
                           unsigned lastYear)
{
    using Moment = std::pair<std::int64_t, const ZoneTime*>;
    std::vector<Moment> moments;
    for (unsigned year = firstYear; year <= lastYear; ++year)
    {
        Moment toDaylight(LocalMoment(rule.daylightStart, year) - rule.standard.offset, &daylight);
        Moment toStandard(LocalMoment(rule.daylightEnd, year) - daylight.offset, &rule.standard);
        auto& first = toDaylight.first < toStandard.first ? toDaylight : toStandard;
        auto& second = toDaylight.first < toStandard.first ? toStandard : toDaylight;
        if (!moments.empty() && moments.back().first >= first.first)
        {
            moments.pop_back(); // what begins again as it ends, never ends
        }
        moments.emplace_back(first);
        moments.emplace_back(second);
    }
    for (const auto& [moment, time] : moments)
    {
        if (moment > start)
        {
            Add(moment, *time);
        }
    }
}

std::size_t ZoneHistory::After(std::int64_t moment) const noexcept
{
    const auto next =
        std::upper_bound(m_changes.begin(), m_changes.end(), moment,
                         [](std::int64_t value, const ZoneChange& change) { return value < change.moment; });
    return static_cast<std::size_t>(next - m_changes.begin());
}

const ZoneTime& ZoneHistory::At(std::int64_t moment) const noexcept
{
    const std::size_t next = After(moment);
    return next < m_changes.size() ? *m_changes[next].before : *m_last;
}

unsigned YearAt(std::int64_t localSecond) noexcept
{
    constexpr auto most = static_cast<std::int64_t>(MaximumTicks / TicksPerDay);
    const std::int64_t days = std::clamp<std::int64_t>(localSecond / SecondsPerDay, 0, most);
    return ToDate(static_cast<std::uint32_t>(days)).year;
}

std::int64_t YearStart(unsigned year) noexcept
{
    return SecondsPerDay * ToDays({.year = year, .month = 1, .day = 1});
}

} // namespace Quoll::Platform
