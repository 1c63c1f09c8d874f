// Calendar arithmetic over the days since 1601-01-01, in the proleptic Gregorian calendar.
//
// Years begin in March, so that the leap day comes last; months and days of such a year are then
// linear in the day's number, and each division is a multiplication by a constant (C. Neri and
// L. Schneider, "Euclidean affine functions and their application to calendar algorithms", 2021).
#pragma once

#include <win32/types.h>

#include <cstdint>

namespace Quoll::Platform
{

constexpr std::uint64_t TicksPerMillisecond = 10'000;
constexpr std::uint32_t MillisecondsPerDay = 86'400'000;
constexpr std::uint64_t TicksPerDay = TicksPerMillisecond * MillisecondsPerDay;
constexpr std::uint64_t MaximumTicks = INT64_MAX;
constexpr std::uint32_t DaysToUnixEpoch = 134'774;
constexpr std::int64_t SecondsToUnixEpoch = std::int64_t{DaysToUnixEpoch} * 86'400;

constexpr unsigned FirstYear = 1601;
constexpr unsigned LastYear = 30827;

struct Date
{
    unsigned year;
    unsigned month;
    unsigned day;
};

constexpr bool IsLeapYear(unsigned year) noexcept
{
    return (year & (year % 25 == 0 ? 15u : 3u)) == 0;
}

constexpr unsigned DaysInMonth(unsigned year, unsigned month) noexcept
{
    return month == 2 ? 28u + (IsLeapYear(year) ? 1u : 0u) : 30u | (month ^ (month >> 3));
}

/// Sunday is 0.
constexpr unsigned DayOfWeek(std::uint32_t days) noexcept
{
    return (days + 1) % 7;
}

/// Right for all days that file times reach.
constexpr Date ToDate(std::uint32_t days) noexcept
{
    constexpr std::uint32_t daysFromMarchOfYearZero = 584'694;
    constexpr std::uint32_t daysOfFourCenturies = 146'097;
    const std::uint32_t quarterDays = 4 * (days + daysFromMarchOfYearZero) + 3;
    const std::uint32_t century = quarterDays / daysOfFourCenturies;
    const std::uint32_t ofCentury = (quarterDays % daysOfFourCenturies) | 3;

    const std::uint64_t years = std::uint64_t{2'939'745} * ofCentury; // 2^32 / 1461, rounded up
    const auto yearOfCentury = static_cast<std::uint32_t>(years >> 32);
    const std::uint32_t dayOfYear = static_cast<std::uint32_t>(years) / 2'939'745 / 4;

    const std::uint32_t months = 2141 * dayOfYear + 197'913; // 2^16 / 30.6, and March is the third
    const std::uint32_t month = months >> 16;
    const bool nextYear = dayOfYear >= 306;
    return {.year = 100 * century + yearOfCentury + (nextYear ? 1 : 0),
            .month = nextYear ? month - 12 : month,
            .day = (months & 0xFFFF) / 2141 + 1};
}

/// The date has to exist and its year to be 1601 or later.
constexpr std::uint32_t ToDays(const Date& date) noexcept
{
    constexpr std::uint32_t daysFromMarchOfYearZero = 584'694;
    const bool beforeMarch = date.month < 3;
    const std::uint32_t year = date.year - (beforeMarch ? 1 : 0);
    const std::uint32_t month = beforeMarch ? date.month + 12 : date.month;
    const std::uint32_t century = year / 100;
    return year * 1461 / 4 - century + century / 4 + (979 * month - 2919) / 32 + date.day - 1 - daysFromMarchOfYearZero;
}

/// The day that is the week-th of its weekday in a month, 5 being the last.
constexpr std::uint32_t WeekdayOfMonth(unsigned year, unsigned month, unsigned week, unsigned dayOfWeek) noexcept
{
    const std::uint32_t first = ToDays({.year = year, .month = month, .day = 1});
    const unsigned offset = (dayOfWeek + 7 - DayOfWeek(first)) % 7 + 7 * (week - 1);
    return first + (offset < DaysInMonth(year, month) ? offset : offset - 7);
}

/// The field values that exist; the day of the week isn't looked at.
constexpr bool IsValid(const SYSTEMTIME& time) noexcept
{
    return time.wYear >= FirstYear && time.wYear <= LastYear && time.wMonth - 1u < 12 && time.wDay != 0 &&
           (time.wDay <= 28 || time.wDay <= DaysInMonth(time.wYear, time.wMonth)) && time.wHour < 24 &&
           time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

constexpr std::uint32_t MillisecondOfDay(const SYSTEMTIME& time) noexcept
{
    return ((time.wHour * 60u + time.wMinute) * 60u + time.wSecond) * 1000u + time.wMilliseconds;
}

/// Milliseconds since 1601-01-01 of fields that are valid.
constexpr std::int64_t ToMilliseconds(const SYSTEMTIME& time) noexcept
{
    const std::uint32_t days = ToDays({.year = time.wYear, .month = time.wMonth, .day = time.wDay});
    return std::int64_t{days} * MillisecondsPerDay + MillisecondOfDay(time);
}

/// From days since 1601-01-01 and milliseconds of the day.
constexpr SYSTEMTIME ToSystemTime(std::uint32_t days, std::uint32_t ofDay) noexcept
{
    const std::uint32_t seconds = ofDay / 1000;
    const std::uint32_t minutes = seconds / 60;
    const Date date = ToDate(days);
    return {.wYear = static_cast<WORD>(date.year),
            .wMonth = static_cast<WORD>(date.month),
            .wDayOfWeek = static_cast<WORD>(DayOfWeek(days)),
            .wDay = static_cast<WORD>(date.day),
            .wHour = static_cast<WORD>(minutes / 60),
            .wMinute = static_cast<WORD>(minutes % 60),
            .wSecond = static_cast<WORD>(seconds % 60),
            .wMilliseconds = static_cast<WORD>(ofDay % 1000)};
}

/// From milliseconds since 1601-01-01, at most MaximumTicks / TicksPerMillisecond.
constexpr SYSTEMTIME ToSystemTime(std::uint64_t milliseconds) noexcept
{
    return ToSystemTime(static_cast<std::uint32_t>(milliseconds / MillisecondsPerDay),
                        static_cast<std::uint32_t>(milliseconds % MillisecondsPerDay));
}

/// From at most MaximumTicks. The date needn't wait for the milliseconds.
constexpr SYSTEMTIME TicksToSystemTime(std::uint64_t ticks) noexcept
{
    return ToSystemTime(static_cast<std::uint32_t>(ticks / TicksPerDay),
                        static_cast<std::uint32_t>(ticks % TicksPerDay / TicksPerMillisecond));
}

} // namespace Quoll::Platform
