#include "Quoll/UtcTime.h"

#include "Quoll/Errors.h"
#include "Quoll/UserLocalFormat.h"
#include "support/FailureOf.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <stdexcept>
#include <utility>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using namespace Quoll::Utilities;
using Tests::Failure;
using Tests::FailureOf;
using Form = UtcTime::StringValue;

constexpr std::uint64_t TicksPerHour = TimeSpan::HOUR;

FILETIME MakeFileTime(std::uint64_t ticks)
{
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

UtcTime MakeMoment(std::uint64_t ticks)
{
    return {MakeFileTime(ticks), false};
}

UtcTime Read(const WString& text, Form form = Form::Iso8601T)
{
    return {text, form, false};
}

TEST(UtcTime, ReadsIsoTextsByPlace)
{
    const UtcTime expected(2021, 3, 4, 5, 6, 7, 0, false);
    for (const WStringView text : {"2021-03-04 05:06:07"_w, "2021-03-04T05:06:07.123+01:00"_w, "2021-03-04,05:06:07Z"_w,
                                   "2021-03-04T05:06:07.123.456T23:59:59-11x22Z"_w})
    {
        EXPECT_EQ(Read(WString(text)), expected);
    }
    // Where dashes are missing, each field has what it can use of the units at its place.
    EXPECT_EQ(Read("2021-0304T05:06:07"_w), expected);
    EXPECT_EQ(Read("202103-04 05:06:07"_w), expected);
    const Failure outOfRange{"invalid string position", 0};
    for (const WStringView text : {"2021-03-04"_w, "20210304"_w, "12:34:56"_w})
    {
        EXPECT_EQ(FailureOf([&] { Read(WString(text)); }), outOfRange);
    }
    const Failure invalid{"Is not a valid ISO8601 string", 0};
    for (const WStringView text : {""_w, "ab"_w, "2021-03-04x05:06:07"_w, "2021-03-04T05:06:07\n"_w})
    {
        EXPECT_EQ(FailureOf([&] { Read(WString(text)); }), invalid);
    }
    const Failure noMoment{"Can't convert system time to file time", ERROR_INVALID_PARAMETER};
    EXPECT_EQ(FailureOf([] { Read("2021-13-04T05:06:07"_w); }), noMoment);
    EXPECT_EQ(FailureOf([] { UtcTime("x"_w, static_cast<Form>(3), false); }), Failure("unknown argument value", 0));
}

TEST(UtcTime, ReadsAndPrintsHexadecimalTexts)
{
    const WString text = "01d2f0ab00c0ffee"_w;
    EXPECT_EQ(Read(text, Form::FileTimeHex).GetTime(), 0x01D2F0AB00C0FFEEu);
    EXPECT_EQ(Read(text, Form::FileTimeHex).ToString(Form::FileTimeHex, false), text);
    EXPECT_EQ(Read("123456789"_w, Form::FileTimeHex).GetTime(), 0x1234567800000009u);
    EXPECT_EQ(Read(" 0x1 -0x2rest"_w, Form::FileTimeHex).GetTime(), 0x1FFFFFFFEu);
    EXPECT_EQ(FailureOf([] { Read({}, Form::FileTimeHex); }),
              Failure("Can't convert empty hex value to utc object", 0));
    EXPECT_EQ(FailureOf([] { Read("01d2f0ab"_w, Form::FileTimeHex); }),
              Failure("Can't convert value: 01d2f0ab to utc object", 0));
    EXPECT_EQ(FailureOf([] { Read(WString(1, WChar{0xD800}), Form::FileTimeHex); }),
              Failure("Can't convert value: \xEF\xBF\xBD to utc object", 0));
}

TEST(UtcTime, PrintsIsoTextsAsThePicturesDo)
{
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i)
    {
        const UtcTime moment = MakeMoment(random() >> (1 + random() % 8));
        for (const bool isLocal : {false, true})
        {
            const auto print = [&](const WString& separator) {
                return moment.ToString("yyyy'-'MM'-'dd"_w, separator, "HH:mm:ss"_w, isLocal);
            };
            if (moment.GetYear(isLocal) <= 30827)
            {
                EXPECT_EQ(moment.ToString(Form::Iso8601Blank, isLocal), print(" "_w));
                EXPECT_EQ(moment.ToString(Form::Iso8601T, isLocal), print("T"_w));
            }
        }
    }
    EXPECT_EQ(Read("2021-03-04T05:06:07"_w).ToString("d"_w, "|"_w, {}, false), "4|"_w);
    EXPECT_EQ(FailureOf([] { UtcTime().ToString(static_cast<Form>(3), false); }), Failure("unknown argument value", 0));
    const Failure noMoment{"Can't convert file time to system time", ERROR_INVALID_PARAMETER};
    const UtcTime last = MakeMoment((std::uint64_t{1} << 63) - 1);
    EXPECT_EQ(FailureOf([&] { last.ToString(Form::Iso8601T, false); }),
              FailureOf([&] { last.ToString("yyyy'-'MM'-'dd"_w, "T"_w, "HH:mm:ss"_w, false); }));
    EXPECT_EQ(FailureOf([] { MakeMoment(std::uint64_t{1} << 63).ToString(Form::Iso8601T, false); }), noMoment);
}

TEST(UtcTime, CountsInWrappingTicksAndClampsBelow)
{
    UtcTime moment = MakeMoment(TicksPerHour);
    moment.AddDays(-1);
    EXPECT_EQ(moment.GetTime(), TicksPerHour - TimeSpan::DAY);
    moment.AddDays(1);
    moment.AddSeconds(std::numeric_limits<std::uint32_t>::max());
    EXPECT_EQ(moment.GetTime(), TicksPerHour + 0xFFFFFFFFull * TimeSpan::SECOND);
    moment.SubMilliseconds(0xFFFFFFFFull * 1000);
    moment.AddMilliseconds(1);
    EXPECT_EQ(moment.GetTime(), TicksPerHour + TimeSpan::MILLISECOND);
    moment.SubMilliseconds(3600 * 1000 + 1);
    EXPECT_TRUE(moment.IsEmpty());
    moment = MakeMoment(TimeSpan::DAY + 1);
    moment.SubDays(1);
    EXPECT_EQ(moment.GetTime(), 1u);
    moment.SubDays(1);
    EXPECT_TRUE(moment.IsEmpty());

    EXPECT_LT(UtcTime(), MakeMoment(1));
    EXPECT_GT(MakeMoment(std::uint64_t{1} << 63), MakeMoment(1));
    EXPECT_EQ((MakeMoment(1) - MakeMoment(3)).GetTicks(), -2);
    EXPECT_EQ((MakeMoment(0) - MakeMoment(std::uint64_t{1} << 63)).GetTicks(),
              std::numeric_limits<std::int64_t>::min());
}

TEST(UtcTime, TakesTheLowHalfOfUnixSeconds)
{
    constexpr std::int64_t epoch = 116444736000000000;
    const auto read = [](std::int64_t seconds) {
        return UtcTime(seconds, false);
    };
    EXPECT_TRUE(UtcTime(std::int64_t{0}, true).IsEmpty());
    EXPECT_EQ(read(std::int64_t{1} << 32).GetTime(), static_cast<std::uint64_t>(epoch));
    EXPECT_EQ(read(std::int64_t{1} << 31).GetYear(false), 1901);
    for (const std::int64_t seconds : {1, -1, 1'700'000'000, -2'000'000'000})
    {
        EXPECT_EQ(read(seconds).GetUnixTimestamp(false), seconds);
    }
    EXPECT_EQ(UtcTime().GetUnixTimestamp(false), -11644473600);
}

TEST(UtcTime, TellsTheSecondsUntilMidnight)
{
    EXPECT_EQ(Read("2021-03-04T00:00:00"_w).GetSecondsUntilMidnight(false), 86400);
    EXPECT_EQ(Read("1960-02-29T23:59:59"_w).GetSecondsUntilMidnight(false), 1);
    const UtcTime moment = UtcTime::Now();
    const std::int64_t ofDay = moment.GetHour(true) * 3600 + moment.GetMinute(true) * 60 + moment.GetSecond(true);
    EXPECT_EQ(moment.GetSecondsUntilMidnight(true), 86400 - ofDay);
}

TEST(UtcTime, ConvertsLocalTimesAsThePlatformDoes)
{
    EXPECT_TRUE(UtcTime(MakeFileTime(0), true).IsEmpty());
    TIME_ZONE_INFORMATION zone;
    ASSERT_NE(GetTimeZoneInformation(&zone), TIME_ZONE_ID_INVALID);
    const auto expectAsCalls = [&](std::uint64_t ticks) {
        const FILETIME fileTime = MakeFileTime(ticks);
        FILETIME expected;
        SYSTEMTIME fields;
        ASSERT_TRUE(FileTimeToSystemTime(&fileTime, &fields));
        ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(&zone, &fields, &fields));
        ASSERT_TRUE(SystemTimeToFileTime(&fields, &expected));
        ASSERT_EQ(UtcTime(MakeMoment(ticks).GetFileTime(true), false), UtcTime(expected, false)) << ticks;
    };
    std::mt19937_64 random(5);
    for (int i = 0; i < 20'000; ++i)
    {
        const std::uint64_t aroundTheCentury = random() % (std::uint64_t{150} * 365 * TimeSpan::DAY);
        expectAsCalls(UtcTime(1950, 1, 1, 0, 0, 0, 0, false).GetTime() + aroundTheCentury);
    }
    const std::uint64_t end = UtcTime(2025, 1, 2, 0, 0, 0, 0, false).GetTime();
    for (std::uint64_t half = UtcTime(2022, 12, 31, 0, 0, 0, 0, false).GetTime(); half < end; half += TicksPerHour / 2)
    {
        expectAsCalls(half - 1);
        expectAsCalls(half);
    }
    // Noon is far from any hour that comes twice.
    for (std::uint16_t month = 1; month <= 12; ++month)
    {
        const UtcTime moment(2023, month, 15, 12, 30, 40, 567, false);
        const SYSTEMTIME universal = moment.GetSystemTime(false);
        SYSTEMTIME expected;
        ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(&zone, &universal, &expected));
        const SYSTEMTIME local = moment.GetSystemTime(true);
        EXPECT_EQ(local.wDay, expected.wDay);
        EXPECT_EQ(local.wHour, expected.wHour);
        EXPECT_EQ(local.wMinute, expected.wMinute);
        EXPECT_EQ(UtcTime(local, true), moment);
        EXPECT_EQ(UtcTime(moment.GetFileTime(true), true), moment);
        EXPECT_EQ(moment.CompareToFileTime(moment.GetFileTime(true), true), UtcTime::FileTimeCompare::Equal);
    }
    EXPECT_EQ(MakeMoment(5).CompareToFileTime(MakeFileTime(6), false), UtcTime::FileTimeCompare::Earlier);
    EXPECT_EQ(MakeMoment(5).CompareToFileTime(MakeFileTime(4), false), UtcTime::FileTimeCompare::Later);
}

TEST(UtcTime, HasNoMomentsBeforeTheScale)
{
    TIME_ZONE_INFORMATION zone;
    ASSERT_NE(GetTimeZoneInformation(&zone), TIME_ZONE_ID_INVALID);
    const auto [least, most] = std::minmax({zone.Bias + zone.StandardBias, zone.Bias + zone.DaylightBias});
    const UtcTime local(MakeFileTime(TicksPerHour / 2), true);
    const SYSTEMTIME fields = MakeMoment(TicksPerHour / 2).GetSystemTime(false);
    if (most <= -60) // the east
    {
        EXPECT_TRUE(local.IsEmpty());
        EXPECT_EQ(FailureOf([&] { UtcTime(fields, true); }),
                  Failure("Can't convert from local time to utc time", ERROR_INVALID_PARAMETER));
    }
    if (least >= 0)
    {
        EXPECT_EQ(local, UtcTime(fields, true));
    }
    if (least >= 60) // the west
    {
        EXPECT_EQ(FailureOf([] { MakeMoment(TicksPerHour / 2).GetYear(true); }),
                  Failure("Can't convert utc system time to local system time", ERROR_INVALID_PARAMETER));
    }
    EXPECT_EQ(FailureOf([] { UtcTime(MakeFileTime(std::uint64_t{1} << 63), true); }),
              Failure("Can't convert file time to system time", ERROR_INVALID_PARAMETER));
}

TEST(UtcTime, StaysAsItWasWhenSettingFails)
{
    class Open : public UtcTime
    {
    public:
        using UtcTime::GetLocale;
        using UtcTime::SetTime;
        using UtcTime::SetTimeAsISO8601;
    };
    Open moment;
    moment.SetTime(2021, 3, 4, 5, 6, 7, 8, false);
    const UtcTime before = moment;
    EXPECT_THROW(moment.SetTime(2021, 2, 30, 5, 6, 7, 8, false), Win32Exception);
    EXPECT_THROW(moment.SetTimeAsISO8601("2021-02-30T00:00:00"_w, true), Win32Exception);
    EXPECT_EQ(moment, before);
    EXPECT_FALSE(UtcTime::IsValid(2021, 2, 30, 0, 0, 0));
    EXPECT_FALSE(UtcTime::IsValid(2021, 2, 28, 24, 0, 0));
    EXPECT_TRUE(UtcTime::IsValid(2024, 2, 29, 23, 59, 59));
    EXPECT_EQ(FailureOf([] { Open::GetLocale(static_cast<UtcTime::LocaleUserAccount>(4)); }),
              Failure("Invalid locale account information", 0));
}

TEST(UtcTime, FormatsByLocale)
{
    using Account = UtcTime::LocaleUserAccount;
    const UtcTime moment(2023, 3, 7, 14, 5, 9, 0, false);
    EXPECT_EQ(moment.ToLocalString(" at "_w, Account::LocaleInvariant, false), "03/07/2023 at 14:05:09"_w);
    EXPECT_EQ(moment.ToLocalTimeString(Account::LocaleInvariant, false, 2), "14:05"_w);
    const SYSTEMTIME local = moment.GetSystemTime(true);
    EXPECT_EQ(moment.ToLocalDateString(Account::LocaleUser, true), UserLocalFormat::GetFormatDate(local, 0x400, 1, {}));
    EXPECT_EQ(moment.ToLocalDateString(Account::LocaleSystem, true),
              UserLocalFormat::GetFormatDate(local, 0x800, 1, {}));
}

TEST(UtcTime, GivesEachField)
{
    const UtcTime moment(2023, 4, 15, 6, 7, 8, 9, false);
    std::uint16_t all[7];
    moment.GetTime(all[0], all[1], all[2], all[3], all[4], all[5], all[6], false);
    const std::uint16_t single[] = {moment.GetYear(false),        moment.GetMonth(false),  moment.GetDay(false),
                                    moment.GetHour(false),        moment.GetMinute(false), moment.GetSecond(false),
                                    moment.GetMilliseconds(false)};
    const std::uint16_t expected[] = {2023, 4, 15, 6, 7, 8, 9};
    EXPECT_TRUE(std::equal(std::begin(all), std::end(all), expected));
    EXPECT_TRUE(std::equal(std::begin(single), std::end(single), expected));
}

TEST(UtcTime, NowLiesBetweenTwoReadings)
{
    const auto read = [] {
        SYSTEMTIME present;
        GetSystemTime(&present);
        return UtcTime(present, false);
    };
    const UtcTime before = read();
    const UtcTime now = UtcTime::Now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, read());
}

TEST(TimeSpan, DividesTowardsZeroAndIgnoresItself)
{
    EXPECT_EQ(TimeSpan(-1).GetTotalMilliseconds(), 0);
    EXPECT_EQ(TimeSpan(-10000).GetTotalMilliseconds(), -1);
    EXPECT_EQ(TimeSpan(863'999'999'999).GetTotalDays(), 0);
    EXPECT_EQ(TimeSpan(std::numeric_limits<std::int64_t>::min()).GetTotalDays(), -10675199);
    TimeSpan span(5);
    const TimeSpan& same = span;
    span += same;
    span -= same;
    EXPECT_EQ(span.GetTicks(), 5);
    span += TimeSpan(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(span.GetTicks(), std::numeric_limits<std::int64_t>::min() + 4);
    EXPECT_EQ(TimeUnitConverter::DaysToHours(-2), -48);
    EXPECT_EQ(TimeUnitConverter::HoursToSeconds(2), 7200);
    EXPECT_EQ(TimeUnitConverter::MinutesToSeconds(2), 120);
    EXPECT_EQ(TimeUnitConverter::SecondsToHours(-7199), -1);
    EXPECT_EQ(TimeUnitConverter::SecondsToMinutes(119), 1);
    EXPECT_EQ(TimeUnitConverter::SecondsToDays(-86399), 0);
    EXPECT_EQ(TimeUnitConverter::SecondsToMilliseconds(-1), std::numeric_limits<std::uint64_t>::max() - 999);
}

} // namespace
