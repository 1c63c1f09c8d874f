// What callers rely on in the platform's calendar: every day of it, and what isn't one.
#include "support/Wine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <tuple>

namespace
{

constexpr std::uint64_t ticksPerDay = 864'000'000'000;

FILETIME FileTime(std::uint64_t ticks)
{
    FILETIME time;
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return time;
}

std::uint64_t Ticks(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

SYSTEMTIME SystemTime(int year, int month, int day, int hour, int minute, int second, int milliseconds)
{
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    time.wMilliseconds = static_cast<WORD>(milliseconds);
    return time;
}

auto Fields(const SYSTEMTIME& time)
{
    return std::tuple(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
}

int DaysInMonth(int year, int month)
{
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const int days[] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month - 1];
}

// 12:44:12.123 of each day, and ticks that have no field.
bool IsThatDay(std::uint64_t day, const SYSTEMTIME& expected)
{
    const FILETIME moment = FileTime(day * ticksPerDay + 458'521'239'999);
    SYSTEMTIME time{};
    FILETIME back{};
    bool same = FileTimeToSystemTime(&moment, &time) && Fields(time) == Fields(expected);
    same = same && time.wDayOfWeek == (day + 1) % 7;
    time.wDayOfWeek = 9; // nobody reads it
    return same && SystemTimeToFileTime(&time, &back) && Ticks(back) == Ticks(moment) - 9'999;
}

TEST(Calendar, CountsDaysForthAndBack)
{
    std::uint64_t ended = 0; // days of the months before
    for (int year = 1601; year <= 30827; ++year)
    {
        const int step = year <= 2401 ? 1 : 11;
        for (int month = 1; month <= 12; ended += static_cast<unsigned>(DaysInMonth(year, month++)))
        {
            for (int dayOfMonth = 1; dayOfMonth <= DaysInMonth(year, month); dayOfMonth += step)
            {
                if (!IsThatDay(ended + static_cast<unsigned>(dayOfMonth) - 1,
                               SystemTime(year, month, dayOfMonth, 12, 44, 12, 123)))
                {
                    FAIL() << year << '-' << month << '-' << dayOfMonth;
                }
            }
        }
    }
}

TEST(Calendar, RefusesFieldsThatNameNoMoment)
{
    const SYSTEMTIME refused[] = {
        SystemTime(1600, 12, 31, 23, 59, 59, 999), SystemTime(0, 1, 1, 0, 0, 0, 0),
        SystemTime(2023, 0, 1, 0, 0, 0, 0),        SystemTime(2023, 13, 1, 0, 0, 0, 0),
        SystemTime(2023, 1, 0, 0, 0, 0, 0),        SystemTime(2023, 1, 32, 0, 0, 0, 0),
        SystemTime(2023, 2, 30, 0, 0, 0, 0),       SystemTime(2023, 4, 31, 0, 0, 0, 0),
        SystemTime(2023, 1, 1, 24, 0, 0, 0),       SystemTime(2023, 1, 1, 0, 60, 0, 0),
        SystemTime(2023, 1, 1, 0, 0, 60, 0),       SystemTime(2023, 1, 1, 0, 0, 0, 1000),
        SystemTime(2023, 65535, 1, 0, 0, 0, 0),    SystemTime(2023, 1, 65535, 0, 0, 0, 0),
    };
    for (const SYSTEMTIME& time : refused)
    {
        FILETIME result = FileTime(42);
        SetLastError(0);
        EXPECT_FALSE(SystemTimeToFileTime(&time, &result));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(Ticks(result), 42u) << time.wYear << '-' << time.wMonth << '-' << time.wDay;
    }
}

TEST(Calendar, RefusesLeapDaysOfOtherYearsAndYearsPastTheLast)
{
    if (Quoll::Tests::IsWine())
    {
        GTEST_SKIP() << "Wine takes 29 February of every year, and the year 30828";
    }
    FILETIME result{};
    for (const SYSTEMTIME& time : {SystemTime(2023, 2, 29, 0, 0, 0, 0), SystemTime(2100, 2, 29, 0, 0, 0, 0),
                                   SystemTime(30828, 1, 1, 0, 0, 0, 0), SystemTime(65535, 1, 1, 0, 0, 0, 0)})
    {
        SetLastError(0);
        EXPECT_FALSE(SystemTimeToFileTime(&time, &result)) << time.wYear;
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(Calendar, ReadsFileTimesUpToTheHighestBit)
{
    SYSTEMTIME time{};
    const FILETIME last = FileTime(INT64_MAX);
    ASSERT_TRUE(FileTimeToSystemTime(&last, &time));
    EXPECT_EQ(Fields(time), Fields(SystemTime(30828, 9, 14, 2, 48, 5, 477)));
    const FILETIME beyond = FileTime(std::uint64_t{INT64_MAX} + 1);
    SetLastError(0);
    EXPECT_FALSE(FileTimeToSystemTime(&beyond, &time));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(time.wYear, 30828);
}

TEST(Calendar, ComparesFileTimesAsUnsignedNumbers)
{
    const FILETIME times[] = {FileTime(0), FileTime(1), FileTime(0xFFFFFFFF), FileTime(0x1'0000'0000),
                              FileTime(0xFFFF'FFFF'0000'0000)};
    for (int i = 0; i < 5; ++i)
    {
        for (int j = 0; j < 5; ++j)
        {
            EXPECT_EQ(CompareFileTime(&times[i], &times[j]), (i > j) - (i < j));
        }
    }
}

TEST(Calendar, TellsTheTimeOfTheClock)
{
    SYSTEMTIME now{};
    const std::time_t before = std::time(nullptr);
    GetSystemTime(&now);
    const std::time_t after = std::time(nullptr);
    FILETIME moment{};
    ASSERT_TRUE(SystemTimeToFileTime(&now, &moment));
    const auto seconds = static_cast<std::time_t>(Ticks(moment) / 10'000'000) - 11'644'473'600;
    EXPECT_LE(before - 1, seconds); // std::time may read a coarser clock
    EXPECT_GE(after + 1, seconds);
}

} // namespace
