// Conversion between UTC and the local time of a zone that is given.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/ZoneShift.h"

using namespace Quoll::Platform;

namespace
{

BOOL Store(std::int64_t milliseconds, SYSTEMTIME* time) noexcept
{
    constexpr auto most = static_cast<std::int64_t>(MaximumTicks / TicksPerMillisecond);
    if (milliseconds < 0 || milliseconds > most)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    *time = ToSystemTime(static_cast<std::uint64_t>(milliseconds));
    return TRUE;
}

// A time whose day stays in its month: only the clock's hands, the day and the weekday move.
bool ConvertWithinMonth(const SYSTEMTIME& time, std::int64_t bias, SYSTEMTIME* result) noexcept
{
    constexpr int minutesPerDay = 1440;
    if (bias < -minutesPerDay || bias > minutesPerDay)
    {
        return false;
    }
    const int minutes = time.wHour * 60 + time.wMinute - static_cast<int>(bias);
    const int days = (minutes >= minutesPerDay ? 1 : 0) - (minutes < 0 ? 1 : 0);
    const int day = time.wDay + days;
    if (day < 1 || day > 28)
    {
        return false;
    }
    const Date date{.year = time.wYear, .month = time.wMonth, .day = static_cast<unsigned>(day)};
    const auto minute = static_cast<unsigned>(minutes - days * minutesPerDay);
    const WORD second = time.wSecond;
    const WORD millisecond = time.wMilliseconds;
    // One by one: a record made elsewhere and copied would have to wait for its own fields.
    result->wYear = static_cast<WORD>(date.year);
    result->wMonth = static_cast<WORD>(date.month);
    result->wDayOfWeek = static_cast<WORD>(DayOfWeek(ToDays(date)));
    result->wDay = static_cast<WORD>(day);
    result->wHour = static_cast<WORD>(minute / 60);
    result->wMinute = static_cast<WORD>(minute % 60);
    result->wSecond = second;
    result->wMilliseconds = millisecond;
    return true;
}

BOOL Shift(const SYSTEMTIME& time, std::int64_t bias, SYSTEMTIME* result) noexcept
{
    if (ConvertWithinMonth(time, bias, result))
    {
        return TRUE;
    }
    return Store(ToMilliseconds(time) - bias * MillisecondsPerMinute, result);
}

using Conversion = BOOL(const TIME_ZONE_INFORMATION*, const SYSTEMTIME*, SYSTEMTIME*) noexcept;

BOOL WithCurrentZone(Conversion convert, const SYSTEMTIME* time, SYSTEMTIME* result) noexcept
{
    TIME_ZONE_INFORMATION current;
    return GetTimeZoneInformation(&current) != TIME_ZONE_ID_INVALID ? convert(&current, time, result) : FALSE;
}

} // namespace

BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* universal,
                                     SYSTEMTIME* local) noexcept
{
    if (zone == nullptr)
    {
        return WithCurrentZone(SystemTimeToTzSpecificLocalTime, universal, local);
    }
    const DWORD id = IsValid(*universal) ? ZoneIdAtUniversal(*zone, *universal) : TIME_ZONE_ID_INVALID;
    return id != TIME_ZONE_ID_INVALID ? Shift(*universal, BiasOf(*zone, id), local) : Fail(ERROR_INVALID_PARAMETER);
}

BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* local,
                                     SYSTEMTIME* universal) noexcept
{
    if (zone == nullptr)
    {
        return WithCurrentZone(TzSpecificLocalTimeToSystemTime, local, universal);
    }
    const DWORD id = IsValid(*local) ? ZoneIdAtLocal(*zone, *local) : TIME_ZONE_ID_INVALID;
    return id != TIME_ZONE_ID_INVALID ? Shift(*local, -BiasOf(*zone, id), universal) : Fail(ERROR_INVALID_PARAMETER);
}
