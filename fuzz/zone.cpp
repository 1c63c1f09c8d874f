// Zone files and rules of anybody's making: what is accepted describes the present, whenever that is, in a
// record that the conversions take.
#include "platform/linux/ZoneRecord.h"
#include "platform/linux/ZoneShift.h"

#include <cstdlib>

using namespace Quoll::Platform;

namespace
{

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

void Describe(const Zone& zone)
{
    for (unsigned year = FirstYear; year < 2600; year += year < 1960 ? 53 : 7)
    {
        const std::int64_t now = ToMilliseconds({static_cast<WORD>(year), 6, 0, 15, 12, 0, 0, 0}) / 1000;
        const ZoneRecord record = MakeZoneRecord(zone, now);
        Require(record.id <= TIME_ZONE_ID_DAYLIGHT && record.from <= now && now < record.until);
        SYSTEMTIME time = ToSystemTime(static_cast<std::uint64_t>(now) * 1000);
        Require(SystemTimeToTzSpecificLocalTime(&record.information, &time, &time) != FALSE);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto zone = ParseZoneFile(text))
    {
        Describe(*zone);
    }
    if (auto rule = ParseZoneRule(text))
    {
        Zone zone;
        zone.rule = std::move(rule);
        Describe(zone);
    }
    return 0;
}
