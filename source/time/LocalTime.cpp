#include "time/LocalTime.h"

#include "Quoll/Errors.h"
#include "Quoll/TimeSpan.h"

#include <platform/local_time.h>

namespace Quoll::Utilities
{

namespace
{

struct Zone
{
    TIME_ZONE_INFORMATION rules;
    DWORD state;
};

Zone ReadZone()
{
    Zone zone;
    zone.state = GetTimeZoneInformation(&zone.rules);
    if (zone.state == TIME_ZONE_ID_INVALID)
    {
        throw Win32Exception("GetTimeZoneInformation failed");
    }
    return zone;
}

std::uint64_t CountTicks(const SYSTEMTIME& systemTime, const char* failure)
{
    FILETIME fileTime;
    if (SystemTimeToFileTime(&systemTime, &fileTime) == FALSE)
    {
        throw Win32Exception(failure);
    }
    return ToTicks(fileTime);
}

// Whether the local time is so early that its moment has no place in the scale.
bool LiesBeforeScale(const Zone& zone, std::uint64_t ticks) noexcept
{
    const bool isDaylight = zone.state == TIME_ZONE_ID_DAYLIGHT;
    const std::int64_t minutes =
        std::int64_t{zone.rules.Bias} + (isDaylight ? zone.rules.DaylightBias : zone.rules.StandardBias);
    const std::uint64_t shift = static_cast<std::uint64_t>(minutes) * TimeSpan::MINUTE;
    return static_cast<std::int64_t>(shift + ticks) <= 0;
}

} // namespace

void ThrowNoSystemTime()
{
    throw Win32Exception("Can't convert file time to system time");
}

FILETIME ToLocalFileTime(const FILETIME& fileTime)
{
    std::uint64_t known = 0;
    if (Platform::KnownLocalTime(ToTicks(fileTime), known))
    {
        return ToFileTime(known);
    }
    SYSTEMTIME universal;
    ReadSystemTime(ToTicks(fileTime), false, universal);
    const Zone zone = ReadZone();
    SYSTEMTIME local;
    if (SystemTimeToTzSpecificLocalTime(&zone.rules, &universal, &local) == FALSE)
    {
        throw Win32Exception("Can't convert utc system time to local system time");
    }
    return ToFileTime(CountTicks(local, "Can't convert local system time to local file time"));
}

std::uint64_t ToUtcTicks(const FILETIME& local)
{
    SYSTEMTIME fields;
    ReadSystemTime(ToTicks(local), false, fields);
    const Zone zone = ReadZone();
    SYSTEMTIME universal;
    if (TzSpecificLocalTimeToSystemTime(&zone.rules, &fields, &universal) == FALSE)
    {
        const DWORD code = GetLastError();
        if (code == ERROR_INVALID_PARAMETER && LiesBeforeScale(zone, ToTicks(local)))
        {
            return 0;
        }
        throw Win32Exception("Can't convert from local time to utc time", code);
    }
    return CountTicks(universal, "Can't convert system time to file time");
}

std::uint64_t ToTicks(const SYSTEMTIME& systemTime, bool isLocal)
{
    SYSTEMTIME universal = systemTime;
    if (isLocal)
    {
        const Zone zone = ReadZone();
        if (TzSpecificLocalTimeToSystemTime(&zone.rules, &universal, &universal) == FALSE)
        {
            throw Win32Exception("Can't convert from local time to utc time");
        }
    }
    return CountTicks(universal, "Can't convert system time to file time");
}

} // namespace Quoll::Utilities
