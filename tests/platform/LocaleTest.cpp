// What callers rely on in the platform's texts of dates and times.
#include "support/Wine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>

namespace
{

using Wide = std::basic_string<WCHAR>;
using Formatter = int(WINAPI*)(LCID, DWORD, const SYSTEMTIME*, LPCWSTR, LPWSTR, int);

constexpr SYSTEMTIME Tuesday{2023, 3, 0, 7, 15, 4, 9, 123}; // the day of the week is wrong

// In UTF-8, with the error in brackets if there is one. What length and text say has to agree.
std::string Formatted(Formatter format, LCID locale, DWORD flags, const SYSTEMTIME* moment, const char* picture)
{
    const std::string_view bytes = picture ? picture : "";
    const Wide wide(bytes.begin(), bytes.end());
    WCHAR text[200];
    SetLastError(0);
    const int length = format(locale, flags, moment, picture ? wide.c_str() : nullptr, nullptr, 0);
    const int written = format(locale, flags, moment, picture ? wide.c_str() : nullptr, text, 200);
    if (length == 0 || written != length || text[length - 1] != 0)
    {
        return std::string("[").append(std::to_string(written == length ? GetLastError() : 0)).append("]");
    }
    char narrow[600];
    WideCharToMultiByte(CP_UTF8, 0, text, length, narrow, 600, nullptr, nullptr);
    return narrow;
}

std::string Date(const char* picture, const SYSTEMTIME& date = Tuesday, DWORD flags = 0, LCID locale = LOCALE_INVARIANT)
{
    return Formatted(&GetDateFormatW, locale, flags, &date, picture);
}

std::string Time(const char* picture, const SYSTEMTIME& time = Tuesday, DWORD flags = 0, LCID locale = LOCALE_INVARIANT)
{
    return Formatted(&GetTimeFormatW, locale, flags, &time, picture);
}

TEST(LocaleContract, RunsOfOneLetter)
{
    struct Row
    {
        char letter;
        const char* texts[6]; // by number of letters
        bool ofTime = false;
    };
    const Row rows[] = {
        {'d', {"7", "07", "Tue", "Tuesday", "Tuesday", "Tuesday"}},
        {'M', {"3", "03", "Mar", "March", "March", "March"}},
        {'y', {nullptr, "23", "2023", "2023", "2023", "2023"}},
        {'h', {"3", "03", "03", "03", "03", "03"}, true},
        {'H', {"15", "15", "15", "15", "15", "15"}, true},
        {'m', {"4", "04", "04", "04", "04", "04"}, true},
        {'s', {"9", "09", "09", "09", "09", "09"}, true},
        {'t', {"P", "PM", "PM", "PM", "PM", "PM"}, true},
    };
    for (const Row& row : rows)
    {
        for (std::size_t count = 1; count <= 6; ++count)
        {
            const std::string run(count, row.letter);
            const char* const text = row.texts[count - 1];
            const std::string printed = row.ofTime ? Time(run.c_str()) : Date(run.c_str());
            EXPECT_TRUE(!text || printed == text) << run << printed;
            // The other formatter doesn't know the letter.
            EXPECT_EQ(row.ofTime ? Date(run.c_str()) : Time(run.c_str()), run);
        }
    }
}

TEST(LocaleContract, TextInPicturesStandsAsItIs)
{
    const std::pair<const char*, const char*> dates[] = {
        {"dd/MM/yyyy", "07/03/2023"},
        {"yyyy'-'MM'-'dd", "2023-03-07"},
        {"ddddd, d. MMMM", "Tuesday, 7. March"},
        {"dM", "73"},
        {"", ""},
        {"'", ""},
        {"''", ""},
        {"''''", "'"},
        {"d''M", "73"},
        {"d''''M", "7'3"},
        {"d'''M'", "7'M"},
        {"d'M", "7M"},
        {"d'M''", "7M'"},
        {"'it''s' d", "it's 7"},
        {"'a' 'b'", "a b"},
        {"\"d\"", "\"7\""},
        {"\\d%d", "\\7%7"},
        {"abcxz", "abcxz"},
        {"DYHhmst", "DYHhmst"},
    };
    for (const auto& [picture, text] : dates)
    {
        EXPECT_EQ(Date(picture), text) << picture;
    }
    EXPECT_EQ(Time("h 'o''clock'"), "3 o'clock");
    EXPECT_EQ(Time("HH.mm/ss dMyg"), "15.04/09 dMyg");
}

TEST(LocaleContract, HoursOfTheDay)
{
    for (int hour = 0; hour < 24; ++hour)
    {
        SYSTEMTIME time{};
        time.wHour = static_cast<WORD>(hour);
        const int half = hour == 0 ? 12 : hour > 12 ? hour - 12 : hour;
        const std::string mark = hour < 12 ? " A AM" : " P PM";
        EXPECT_EQ(Time("h H t tt", time), std::to_string(half).append(" ").append(std::to_string(hour)).append(mark));
        EXPECT_EQ(Time("h", time, TIME_FORCE24HOURFORMAT), std::to_string(hour));
    }
}

TEST(LocaleContract, TimeFlagsTakePartsWithTheTextBeforeThem)
{
    struct Row
    {
        DWORD flags;
        const char* picture;
        const char* text;
    };
    const Row rows[] = {
        {TIME_NOMINUTESORSECONDS, "hh:mm:ss tt", "03 PM"},
        {TIME_NOMINUTESORSECONDS, "tt hh:mm:ss", "PM 03"},
        {TIME_NOMINUTESORSECONDS, "mm:ss", ""},
        {TIME_NOMINUTESORSECONDS, "'a'hh:mm:ss tt'b'", "a03 PMb"},
        {TIME_NOSECONDS, "hh:mm:ss tt", "03:04 PM"},
        {TIME_NOSECONDS, "HH:mm:ss", "15:04"},
        {TIME_NOSECONDS, "hh:mm:sstt", "03:04PM"},
        {TIME_NOSECONDS, "ss", ""},
        {TIME_NOTIMEMARKER, "hh:mm:ss tt", "03:04:09"},
        {TIME_NOTIMEMARKER, "tthh:mm:ss", "03:04:09"},
        {TIME_NOTIMEMARKER, "'a'hh:mm tt'b'", "a03:04"},
        {TIME_FORCE24HOURFORMAT, "hh:mm:ss tt", "15:04:09 PM"},
        {TIME_FORCE24HOURFORMAT | TIME_NOTIMEMARKER | TIME_NOSECONDS, "h:mm:ss tt", "15:04"},
        {TIME_NOMINUTESORSECONDS | TIME_NOSECONDS, "h:mm:ss t", "3 P"},
        {TIME_NOSECONDS, nullptr, "15:04"},
        {TIME_NOMINUTESORSECONDS | LOCALE_NOUSEROVERRIDE, nullptr, "15"},
        {LOCALE_NOUSEROVERRIDE, "h", "[1004]"},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(Time(row.picture, Tuesday, row.flags), row.text) << row.flags << (row.picture ? row.picture : "");
    }
}

TEST(LocaleContract, DateFlagsChooseOneFormatOfTheLocale)
{
    EXPECT_EQ(Date(nullptr, Tuesday, DATE_LONGDATE | LOCALE_NOUSEROVERRIDE), "Tuesday, 07 March 2023");
    for (const DWORD flags : {3u, 9u, 10u, 11u})
    {
        EXPECT_EQ(Date(nullptr, Tuesday, flags), "[1004]") << flags;
    }
    for (const DWORD flags : {DWORD{1}, DWORD{2}, DWORD{8}, DWORD{3}, DWORD{LOCALE_NOUSEROVERRIDE}})
    {
        EXPECT_EQ(Date("d", Tuesday, flags), "[1004]") << flags;
    }
}

TEST(LocaleContract, MomentsThatDoNotExist)
{
    EXPECT_EQ(Date("dddd d M yyyy", {1601, 1, 9, 1, 99, 99, 99, 9999}), "Monday 1 1 1601"); // its time doesn't count
    EXPECT_EQ(Date("dddd yyyy yy", {30827, 12, 0, 31, 0, 0, 0, 0}), "Friday 30827 27");
    EXPECT_EQ(Date("d", {2024, 2, 0, 29, 0, 0, 0, 0}), "29");
    const SYSTEMTIME dates[] = {
        {1600, 12, 0, 31, 0, 0, 0, 0}, {2023, 257, 0, 1, 0, 0, 0, 0}, {2023, 1, 0, 257, 0, 0, 0, 0}};
    for (const SYSTEMTIME& date : dates)
    {
        EXPECT_EQ(Date("d", date), "[87]") << date.wYear << " " << date.wMonth << " " << date.wDay;
    }
    EXPECT_EQ(Time("HH:mm:ss", {0, 0, 9, 0, 23, 59, 59, 999}), "23:59:59"); // nor does a time's date
    const SYSTEMTIME times[] = {
        {0, 0, 0, 0, 24, 0, 0, 0}, {0, 0, 0, 0, 0, 60, 0, 0}, {0, 0, 0, 0, 0, 0, 60, 0}, {0, 0, 0, 0, 0, 0, 0, 1000}};
    for (const SYSTEMTIME& time : times)
    {
        EXPECT_EQ(Time(nullptr, time), "[87]") << time.wHour << " " << time.wMinute << " " << time.wSecond;
    }
}

TEST(LocaleContract, BuffersAndTheirSizes)
{
    for (const Formatter format : {Formatter{&GetDateFormatW}, Formatter{&GetTimeFormatW}})
    {
        const WCHAR picture[] = {'\'', 'a', 'b', 'c', 'd', 0};
        for (int size = -1; size < 7; ++size)
        {
            WCHAR text[8];
            std::fill(std::begin(text), std::end(text), WCHAR{'#'});
            SetLastError(0);
            const int length = format(LOCALE_INVARIANT, 0, &Tuesday, picture, text, size);
            const DWORD expected = size < 0                ? ERROR_INVALID_PARAMETER
                                   : size == 0 || size > 4 ? 0
                                                           : ERROR_INSUFFICIENT_BUFFER;
            EXPECT_EQ(length, expected == 0 ? 5 : 0) << size;
            EXPECT_EQ(GetLastError(), expected) << size;
            EXPECT_EQ(text[std::clamp(size, 0, 5)], '#') << size;
        }
        SetLastError(0);
        EXPECT_EQ(format(LOCALE_INVARIANT, 0, &Tuesday, picture, nullptr, 5), 0);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(LocaleContract, NoMomentMeansNow)
{
    SYSTEMTIME utc;
    TIME_ZONE_INFORMATION zone;
    SYSTEMTIME local;
    std::string expected;
    std::string now;
    do // until no minute ends in between
    {
        GetSystemTime(&utc);
        ASSERT_NE(GetTimeZoneInformation(&zone), TIME_ZONE_ID_INVALID);
        ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(&zone, &utc, &local));
        expected = Date("yyyyMMdd", local) + Time("HHmm", local);
        now = Formatted(&GetDateFormatW, LOCALE_INVARIANT, 0, nullptr, "yyyyMMdd") +
              Formatted(&GetTimeFormatW, LOCALE_INVARIANT, 0, nullptr, "HHmm");
        GetSystemTime(&local);
    } while (local.wMinute != utc.wMinute);
    EXPECT_EQ(now, expected);
}

TEST(LocaleContract, LocalesByNumber)
{
    for (const LCID locale : {LCID{LOCALE_USER_DEFAULT}, LCID{LOCALE_SYSTEM_DEFAULT}, LCID{LOCALE_INVARIANT}})
    {
        EXPECT_EQ(Date("dd.MM.yyyy", Tuesday, 0, locale), "07.03.2023");
        EXPECT_EQ(Time("HH:mm:ss", Tuesday, 0, locale), "15:04:09");
        EXPECT_GE(Date(nullptr, Tuesday, 0, locale).size(), 6u);
        EXPECT_GE(Time(nullptr, Tuesday, 0, locale).size(), 7u);
    }
    // The locale is looked at before flags and moment, the flags before the moment.
    for (const LCID locale : {0x1234u, 0xFFFFu, 0x10000u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(Date(nullptr, {}, 3, locale), "[87]") << locale;
        EXPECT_EQ(Time(nullptr, {}, 3, locale), "[87]") << locale;
    }
    EXPECT_EQ(Date(nullptr, {}, 3), "[1004]");
}

TEST(LocaleContract, TheUsersLanguage)
{
    const char* const variable = std::getenv("LC_ALL");
    const std::string locale = variable ? variable : "";
    if (locale != "C" && locale != "de_DE.UTF-8")
    {
        GTEST_SKIP() << "LC_ALL is neither C nor de_DE.UTF-8";
    }
    const bool german = locale != "C";
    EXPECT_EQ(Date("dddd, d. MMMM yyyy", Tuesday, 0, LOCALE_USER_DEFAULT),
              german ? "Dienstag, 7. M\xC3\xA4rz 2023" : "Tuesday, 7. March 2023");
    const std::string time = Time(nullptr, Tuesday, 0, LOCALE_USER_DEFAULT);
    EXPECT_TRUE(time == "15:04:09" || (!german && time == "3:04:09 PM")) << time; // Wine takes C for American English
}

TEST(LocaleContract, WhatWineHasOtherwise)
{
    if (Quoll::Tests::IsWine())
    {
        GTEST_SKIP() << "Wine prints \"AD\" once for each g, two digits for y, goes on after 29 February and 30827, "
                        "takes any flag, keeps text behind a mark left out, and crashes on texts above 260 units";
    }
    EXPECT_EQ(Date("g|gg|ggg|y"), "A.D.|A.D.|A.D.|3");
    EXPECT_EQ(Date("d", {2023, 2, 0, 29, 0, 0, 0, 0}), "[87]");
    EXPECT_EQ(Date("d", {30828, 1, 0, 1, 0, 0, 0, 0}), "[87]");
    EXPECT_EQ(Date("d", Tuesday, 0x100), "[1004]");
    EXPECT_EQ(Time("h", Tuesday, 0x10), "[1004]");
    EXPECT_EQ(Time("tt - hh:mm", Tuesday, TIME_NOTIMEMARKER), "03:04");
    const Wide text(100'000, 'x');
    EXPECT_EQ(GetDateFormatW(LOCALE_INVARIANT, 0, &Tuesday, text.c_str(), nullptr, 0), 100'001);
}

} // namespace
