#include "platform/linux/LocalShifts.h"

#include "platform/linux/ZoneShift.h"

#include <algorithm>
#include <vector>

namespace Quoll::Platform
{

namespace
{

// A moment in ticks, and the bias in minutes from there on.
struct Shift
{
    std::uint64_t moment;
    std::int32_t bias;
};

// All moments in milliseconds at which the zone's time can become another: both changes of each year,
// and the years' own borders, behind which the changes of another year count.
std::vector<std::int64_t> FindBorders(const TIME_ZONE_INFORMATION& zone)
{
    constexpr unsigned firstYear = 1969;
    constexpr unsigned lastYear = 2085;
    const std::int64_t standard = BiasOf(zone, TIME_ZONE_ID_STANDARD) * MillisecondsPerMinute;
    const std::int64_t daylight = BiasOf(zone, TIME_ZONE_ID_DAYLIGHT) * MillisecondsPerMinute;
    std::vector<std::int64_t> borders;
    for (unsigned year = firstYear; year <= lastYear; ++year)
    {
        const std::uint32_t start = ToDays({.year = year, .month = 1, .day = 1});
        borders.push_back(std::int64_t{start} * MillisecondsPerDay + standard);
        std::int64_t moment = 0;
        if (MomentOf(zone.StandardDate, year, moment))
        {
            borders.push_back(moment + daylight);
        }
        if (MomentOf(zone.DaylightDate, year, moment))
        {
            borders.push_back(moment + standard);
        }
    }
    return borders;
}

// What holds from the first tick on, and each change up to the end; nothing if the zone's dates are wrong.
std::vector<Shift> FindShifts(const TIME_ZONE_INFORMATION& zone, std::uint64_t first, std::uint64_t end)
{
    const auto firstMillisecond = static_cast<std::int64_t>(first / TicksPerMillisecond);
    std::vector<std::int64_t> borders = FindBorders(zone);
    borders.push_back(firstMillisecond);
    std::sort(borders.begin(), borders.end());
    std::vector<Shift> shifts;
    for (auto border = std::lower_bound(borders.begin(), borders.end(), firstMillisecond); border != borders.end();
         ++border)
    {
        const auto milliseconds = static_cast<std::uint64_t>(*border);
        const DWORD id = ZoneIdAtUniversal(zone, ToSystemTime(milliseconds));
        if (id == TIME_ZONE_ID_INVALID)
        {
            return {};
        }
        const Shift shift{milliseconds * TicksPerMillisecond, static_cast<std::int32_t>(BiasOf(zone, id))};
        if (shift.moment < end && (shifts.empty() || shifts.back().bias != shift.bias))
        {
            shifts.push_back(shift);
        }
    }
    return shifts;
}

} // namespace

LocalShifts::LocalShifts(const TIME_ZONE_INFORMATION& zone)
{
    constexpr std::uint64_t width = std::uint64_t{1} << SpanBits;
    const std::vector<Shift> shifts = FindShifts(zone, FirstTick, FirstTick + SpanCount * width);
    if (shifts.empty())
    {
        return;
    }
    auto holding = shifts.begin(); // the last one that holds when the span begins
    std::uint64_t start = FirstTick;
    for (Span& span : m_spans)
    {
        const auto isBehind = [](std::uint64_t moment, const Shift& shift) {
            return moment < shift.moment;
        };
        holding = std::upper_bound(holding, shifts.end(), start, isBehind) - 1;
        const auto last = std::upper_bound(holding, shifts.end(), start + width - 1, isBehind) - 1;
        if (last - holding <= 1)
        {
            span = {.change = last->moment, .before = holding->bias, .after = last->bias};
        }
        start += width;
    }
}

} // namespace Quoll::Platform
