// What callers rely on in the conversions with an explicit zone.
#include "support/Wine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace
{

constexpr const char* refused = "refused";

// From "2026-03-29 00:59:59.999", of which a tail may be missing.
SYSTEMTIME Time(const char* text)
{
    unsigned part[7] = {0, 1, 1, 0, 0, 0, 0};
    std::sscanf(text, "%u-%u-%u %u:%u:%u.%u", &part[0], &part[1], &part[2], &part[3], &part[4], &part[5], &part[6]);
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(part[0]);
    time.wMonth = static_cast<WORD>(part[1]);
    time.wDay = static_cast<WORD>(part[2]);
    time.wHour = static_cast<WORD>(part[3]);
    time.wMinute = static_cast<WORD>(part[4]);
    time.wSecond = static_cast<WORD>(part[5]);
    time.wMilliseconds = static_cast<WORD>(part[6]);
    return time;
}

std::string Text(const SYSTEMTIME& time)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u:%02u.%03u", time.wYear, time.wMonth, time.wDay,
                  time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
    return text;
}

SYSTEMTIME Rule(int month, int week, int dayOfWeek, int hour)
{
    SYSTEMTIME rule{};
    rule.wMonth = static_cast<WORD>(month);
    rule.wDay = static_cast<WORD>(week);
    rule.wDayOfWeek = static_cast<WORD>(dayOfWeek);
    rule.wHour = static_cast<WORD>(hour);
    return rule;
}

TIME_ZONE_INFORMATION Zone(int bias, int daylightBias, const SYSTEMTIME& toDaylight, const SYSTEMTIME& toStandard)
{
    TIME_ZONE_INFORMATION zone{};
    zone.Bias = bias;
    zone.DaylightBias = daylightBias;
    zone.DaylightDate = toDaylight;
    zone.StandardDate = toStandard;
    return zone;
}

const TIME_ZONE_INFORMATION berlin = Zone(-60, -60, Rule(3, 5, 0, 2), Rule(10, 5, 0, 3));
const TIME_ZONE_INFORMATION newYork = Zone(300, -60, Rule(3, 2, 0, 2), Rule(11, 1, 0, 2));
const TIME_ZONE_INFORMATION sydney = Zone(-600, -60, Rule(10, 1, 0, 2), Rule(4, 1, 0, 3));
const TIME_ZONE_INFORMATION lordHowe = Zone(-630, -30, Rule(10, 1, 0, 2), Rule(4, 1, 0, 2));
const TIME_ZONE_INFORMATION dublin = Zone(-60, 60, Rule(10, 5, 0, 2), Rule(3, 5, 0, 1));
const TIME_ZONE_INFORMATION india = Zone(-330, -60, {}, {});
const TIME_ZONE_INFORMATION ramadan = Zone(-60, 60, Time("2026-02-15 03"), Time("2026-03-22 02"));
const TIME_ZONE_INFORMATION sameMonth = Zone(0, -60, Rule(5, 1, 0, 2), Rule(5, 5, 0, 2));
const TIME_ZONE_INFORMATION farAway = Zone(-3000, -60, Rule(3, 5, 0, 2), Rule(10, 5, 0, 3));

using Conversion = BOOL(WINAPI*)(const TIME_ZONE_INFORMATION*, const SYSTEMTIME*, SYSTEMTIME*);

std::string Converted(Conversion convert, const TIME_ZONE_INFORMATION& zone, const char* text)
{
    SYSTEMTIME time = Time(text);
    SetLastError(0);
    if (convert(&zone, &time, &time) == FALSE)
    {
        EXPECT_EQ(Text(time), Text(Time(text))) << "nothing is written on failure";
        return GetLastError() == ERROR_INVALID_PARAMETER ? refused : "wrong code";
    }
    FILETIME moment{};
    SYSTEMTIME again{};
    if (SystemTimeToFileTime(&time, &moment) && FileTimeToSystemTime(&moment, &again))
    {
        EXPECT_EQ(time.wDayOfWeek, again.wDayOfWeek);
    }
    return Text(time);
}

std::string ToLocal(const TIME_ZONE_INFORMATION& zone, const char* universal)
{
    return Converted(
        [](const TIME_ZONE_INFORMATION* given, const SYSTEMTIME* from, SYSTEMTIME* to) -> BOOL {
            return SystemTimeToTzSpecificLocalTime(const_cast<TIME_ZONE_INFORMATION*>(given),
                                                   const_cast<SYSTEMTIME*>(from), to);
        },
        zone, universal);
}

std::string ToUniversal(const TIME_ZONE_INFORMATION& zone, const char* local)
{
    return Converted(
        [](const TIME_ZONE_INFORMATION* given, const SYSTEMTIME* from, SYSTEMTIME* to) -> BOOL {
            return TzSpecificLocalTimeToSystemTime(const_cast<TIME_ZONE_INFORMATION*>(given),
                                                   const_cast<SYSTEMTIME*>(from), to);
        },
        zone, local);
}

TEST(TimeZone, ConvertsAtTheEdgesOfDaylightTime)
{
    const struct
    {
        const TIME_ZONE_INFORMATION& zone;
        const char* universal;
        const char* local;
        bool doubled; // the second of two local times
    } rows[] = {
        {berlin, "2026-03-29 00:59:59.999", "2026-03-29 01:59:59.999", false},
        {berlin, "2026-03-29 01:00", "2026-03-29 03:00", false},
        {berlin, "2026-10-25 00:59:59.999", "2026-10-25 02:59:59.999", false},
        {berlin, "2026-10-25 01:00", "2026-10-25 02:00", true},
        {berlin, "2026-12-31 23:30", "2027-01-01 00:30", false},
        {berlin, "2028-02-28 23:30", "2028-02-29 00:30", false},
        {newYork, "2027-01-01 04:59", "2026-12-31 23:59", false},
        {sydney, "2026-04-04 16:00", "2026-04-05 02:00", true},
        {sydney, "2026-10-03 16:00", "2026-10-04 03:00", false},
        {lordHowe, "2026-04-04 15:00", "2026-04-05 01:30", true},
        {lordHowe, "2026-10-03 15:30", "2026-10-04 02:30", false},
        {dublin, "2026-03-29 01:00", "2026-03-29 02:00", false},
        {dublin, "2026-10-25 01:00", "2026-10-25 01:00", true},
        {india, "2026-06-30 18:30", "2026-07-01 00:00", false},
        {ramadan, "2026-02-15 02:00", "2026-02-15 02:00", true},
        {ramadan, "2026-03-22 02:00", "2026-03-22 03:00", false},
        {farAway, "2026-03-27 00:00", "2026-03-29 03:00", false},
    };
    for (const auto& row : rows)
    {
        const std::string local = Text(Time(row.local));
        EXPECT_EQ(ToLocal(row.zone, row.universal), local) << row.universal;
        if (!row.doubled)
        {
            EXPECT_EQ(ToUniversal(row.zone, row.local), Text(Time(row.universal))) << row.local;
        }
    }
}

TEST(TimeZone, RefusesTimesThatHaveNoPlaceInTheScale)
{
    EXPECT_EQ(ToLocal(berlin, "1601-01-01"), Text(Time("1601-01-01 01:00")));
    EXPECT_EQ(ToLocal(newYork, "1601-01-01 04:59"), refused);
    EXPECT_EQ(ToLocal(newYork, "1601-01-01 05:00"), Text(Time("1601-01-01")));
    EXPECT_EQ(ToUniversal(berlin, "1601-01-01 00:59:59.999"), refused);
    EXPECT_EQ(ToUniversal(berlin, "1601-01-01 01:00"), Text(Time("1601-01-01")));
    EXPECT_EQ(ToUniversal(newYork, "30827-12-31 23:00"), Text(Time("30828-01-01 04:00")));
    for (const char* time : {"1600-12-31 12:00", "2026-13-01", "2026-04-31", "2026-01-01 24:00", "2026-01-01 00:60"})
    {
        EXPECT_EQ(ToLocal(berlin, time), refused) << time;
        EXPECT_EQ(ToUniversal(india, time), refused) << time;
    }
}

TEST(TimeZone, RefusesZonesWhoseDatesAreNone)
{
    const TIME_ZONE_INFORMATION zones[] = {
        Zone(0, -60, Rule(3, 5, 0, 2), {}),
        Zone(0, -60, Rule(3, 0, 0, 2), Rule(10, 5, 0, 3)),
        Zone(0, -60, Rule(3, 5, 0, 2), Rule(10, 6, 0, 3)),
    };
    for (const TIME_ZONE_INFORMATION& zone : zones)
    {
        EXPECT_EQ(ToLocal(zone, "2026-07-01 12:00"), refused);
        EXPECT_EQ(ToUniversal(zone, "2026-07-01 12:00"), refused);
    }
}

TEST(TimeZone, ReadsTheSkippedAndTheDoubledHourAsTheTimeWithTheGreaterOffset)
{
    if (Quoll::Tests::IsWine())
    {
        GTEST_SKIP() << "Wine isn't trusted with hours that don't exist or come twice";
    }
    EXPECT_EQ(ToUniversal(berlin, "2026-03-29 02:30"), Text(Time("2026-03-29 00:30")));
    EXPECT_EQ(ToUniversal(sydney, "2026-10-04 02:30"), Text(Time("2026-10-03 15:30")));
    EXPECT_EQ(ToUniversal(dublin, "2026-03-29 01:30"), Text(Time("2026-03-29 00:30")));
    EXPECT_EQ(ToUniversal(dublin, "2026-10-25 01:30"), Text(Time("2026-10-25 00:30")));
}

TEST(TimeZone, TakesBothChangesInOneMonth)
{
    if (Quoll::Tests::IsWine())
    {
        GTEST_SKIP() << "Wine tells the order of the two by their months alone";
    }
    EXPECT_EQ(ToLocal(sameMonth, "2026-05-03 01:59"), Text(Time("2026-05-03 01:59")));
    EXPECT_EQ(ToLocal(sameMonth, "2026-05-03 02:00"), Text(Time("2026-05-03 03:00")));
    EXPECT_EQ(ToLocal(sameMonth, "2026-05-31 00:59"), Text(Time("2026-05-31 01:59")));
    EXPECT_EQ(ToLocal(sameMonth, "2026-05-31 01:00"), Text(Time("2026-05-31 01:00")));
}

TEST(TimeZone, TakesTheCurrentZoneWhereNoneIsGiven)
{
    TIME_ZONE_INFORMATION zone{};
    ASSERT_LE(GetTimeZoneInformation(&zone), TIME_ZONE_ID_DAYLIGHT);
    SYSTEMTIME universal = Time("2026-07-01 12:34:56.789");
    SYSTEMTIME local{};
    ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local));
    EXPECT_EQ(Text(local), ToLocal(zone, "2026-07-01 12:34:56.789"));
    ASSERT_TRUE(TzSpecificLocalTimeToSystemTime(nullptr, &local, &local));
    EXPECT_EQ(Text(local), Text(universal));
}

} // namespace
