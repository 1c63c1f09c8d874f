// The current zone beside the C library's own, and what becomes of zone data that are broken.
#include "platform/linux/Calendar.h"
#include "platform/linux/ZoneRecord.h"
#include "platform/linux/ZoneSource.h"

#include "support/Eventually.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <random>

namespace Quoll::Platform
{

using Tests::Eventually;
using Tests::TemporaryDirectory;

namespace
{

// TZ for both libraries, and back to what it was.
class ZoneTest : public testing::Test
{
protected:
    ZoneTest()
        : m_present(std::getenv("TZ") != nullptr)
        , m_value(m_present ? std::getenv("TZ") : "")
    {
    }

    ~ZoneTest() override
    {
        m_present ? setenv("TZ", m_value.c_str(), 1) : unsetenv("TZ");
        tzset();
    }

    static void Set(const std::string& value)
    {
        setenv("TZ", value.c_str(), 1);
        tzset();
    }

private:
    bool m_present;
    std::string m_value;
};

bool HasZoneFiles()
{
    return std::ifstream("/usr/share/zoneinfo/Europe/Berlin").good();
}

SYSTEMTIME ToFields(std::time_t time)
{
    return ToSystemTime(static_cast<std::uint64_t>(time + SecondsToUnixEpoch) * 1000);
}

std::time_t FromFields(const SYSTEMTIME& fields)
{
    return ToMilliseconds(fields) / 1000 - SecondsToUnixEpoch;
}

std::time_t StartOfYear(int year)
{
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mday = 1;
    fields.tm_isdst = -1;
    return mktime(&fields);
}

bool AreSame(const SYSTEMTIME& fields, const std::tm& oracle)
{
    return fields.wYear == oracle.tm_year + 1900 && fields.wMonth == oracle.tm_mon + 1 &&
           fields.wDay == oracle.tm_mday && fields.wDayOfWeek == oracle.tm_wday && fields.wHour == oracle.tm_hour &&
           fields.wMinute == oracle.tm_min && fields.wSecond == oracle.tm_sec;
}

// The first moment when the clocks showed what they show now.
std::time_t Earlier(std::time_t moment)
{
    std::tm now{};
    localtime_r(&moment, &now);
    for (const std::time_t before : {moment - 3600, moment - 1800})
    {
        std::tm shown{};
        localtime_r(&before, &shown);
        if (shown.tm_mday == now.tm_mday && shown.tm_hour == now.tm_hour && shown.tm_min == now.tm_min)
        {
            return before;
        }
    }
    return moment;
}

// Every half hour of the year, forth and back.
void Compare(const TIME_ZONE_INFORMATION& zone, int year)
{
    const std::time_t end = StartOfYear(year + 1);
    for (std::time_t moment = StartOfYear(year); moment < end; moment += 1800)
    {
        const SYSTEMTIME universal = ToFields(moment);
        SYSTEMTIME local{};
        SYSTEMTIME back{};
        std::tm oracle{};
        localtime_r(&moment, &oracle);
        const bool good = SystemTimeToTzSpecificLocalTime(&zone, &universal, &local) && AreSame(local, oracle) &&
                          TzSpecificLocalTimeToSystemTime(&zone, &local, &back) && FromFields(back) == Earlier(moment);
        ASSERT_TRUE(good) << "at " << moment;
    }
}

TEST_F(ZoneTest, AgreesWithTheLibraryForEveryHalfHourOfTheYear)
{
    SYSTEMTIME now{};
    GetSystemTime(&now);
    const char* const zones[] = {"Europe/Berlin",
                                 ":America/New_York",
                                 "Australia/Sydney",
                                 "Australia/Lord_Howe",
                                 "Europe/Dublin",
                                 "Asia/Kolkata",
                                 "America/Santiago",
                                 "Asia/Jerusalem",
                                 "America/Nuuk",
                                 "Africa/Cairo",
                                 "Pacific/Chatham",
                                 "Africa/Casablanca",
                                 "Pacific/Kiritimati",
                                 "/usr/share/zoneinfo/Asia/Tokyo",
                                 "UTC",
                                 "",
                                 "CET-1CEST,M3.5.0,M10.5.0/3",
                                 "IST-1GMT0,M10.5.0,M3.5.0/1",
                                 "EST5EDT4,J60/2,300/26",
                                 "<+0330>-3:30<+0430>,J80/0,J264/0",

                                 "<-02>2<-01>,M3.5.0/-1,M10.5.0/0"};
    if (!HasZoneFiles())
    {
        GTEST_SKIP() << "this machine has no zone files";
    }
    for (const char* name : zones)
    {
        SCOPED_TRACE(name);
        Set(name);
        TIME_ZONE_INFORMATION zone{};
        const DWORD id = GetTimeZoneInformation(&zone);
        std::time_t clock = std::time(nullptr);
        std::tm oracle{};
        localtime_r(&clock, &oracle);
        EXPECT_EQ(id == TIME_ZONE_ID_DAYLIGHT, oracle.tm_isdst != 0 && zone.DaylightDate.wMonth != 0);
        EXPECT_EQ(id == TIME_ZONE_ID_UNKNOWN, zone.DaylightDate.wMonth == 0);
        const std::u16string given(id == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightName : zone.StandardName);
        EXPECT_EQ(std::string(given.begin(), given.end()), oracle.tm_zone);
        ASSERT_NO_FATAL_FAILURE(Compare(zone, now.wYear));
    }
}

// Rules of the day: what the record says as the years pass, wherever in them the present lies.
TEST_F(ZoneTest, DescribesYearsWhoseChangesFollowNoRule)
{
    const struct
    {
        const char* name;
        int year;
    } rows[] = {{"Europe/Berlin", 2030}, {"Africa/Casablanca", 2026}, {"Africa/Casablanca", 2031},
                {"Asia/Almaty", 2024},   {"Europe/Istanbul", 2016},   {"America/Caracas", 2016},
                {"Asia/Gaza", 2030},     {"Europe/Berlin", 2045},     {"America/Sao_Paulo", 2019}};
    if (!HasZoneFiles())
    {
        GTEST_SKIP() << "this machine has no zone files";
    }
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.name << ' ' << row.year);
        Set(row.name);
        const ZoneSource source(row.name);
        for (int month = 0; month < 12; month += 3)
        {
            const std::time_t now = StartOfYear(row.year) + month * 31 * 86'400;
            const ZoneRecord record = MakeZoneRecord(source.Current(), now + SecondsToUnixEpoch);
            EXPECT_LE(record.from, now + SecondsToUnixEpoch);
            EXPECT_GT(record.until, now + SecondsToUnixEpoch);
            ASSERT_NO_FATAL_FAILURE(Compare(record.information, row.year));
        }
    }
}

LONG CurrentBias()
{
    TIME_ZONE_INFORMATION zone{};
    EXPECT_NE(GetTimeZoneInformation(&zone), TIME_ZONE_ID_INVALID);
    return zone.Bias;
}

TEST_F(ZoneTest, TakesRulesWithinTheirLimits)
{
    for (const char* text : {"", ":", "Nowhere/City", "AB1", "AAA", "AAA25", "AAA3BBB,M13.1.0,M3.1.0", "AAA3BBB,M3.1.0",
                             "AAA3BBB,M3.1.0,M4.1.0,", "<AA", "AAA3BBB,J0,J1", "AAA3BBB,M3.1.0/168,M4.1.0", "/dev/zero",
                             "/usr/share/zoneinfo", "../zoneinfo/Asia/Tokyo", "Asia/../Asia/Tokyo", "/etc/passwd"})
    {
        Set(text);
        EXPECT_EQ(CurrentBias(), 0) << text;
    }
    Set("AAA3" + std::string(100'000, 'B'));
    EXPECT_EQ(CurrentBias(), 180); // a long name is one
    Set("XXX3EDT4,0/0,J365/23");
    EXPECT_EQ(CurrentBias(), 240); // daylight time that never ends
    Set(std::string(100'000, 'A'));
    EXPECT_EQ(CurrentBias(), 0);
}

TEST_F(ZoneTest, FollowsEveryChangeOfTheVariable)
{
    char own[] = "TZ=AAA5";
    for (int round = 0; round < 3; ++round)
    {
        Set("AAA3");
        EXPECT_EQ(CurrentBias(), 180);
        Set("AAA4");
        EXPECT_EQ(CurrentBias(), 240);
        unsetenv("TZ");
        const LONG system = CurrentBias();
        setenv("QUOLL_TEST", "1", 1);
        EXPECT_EQ(CurrentBias(), system);
        Set("AAA3");
        unsetenv("QUOLL_TEST");
        EXPECT_EQ(CurrentBias(), 180);
        putenv(own);
        EXPECT_EQ(CurrentBias(), own[6] == '5' ? 300 : 360);
        own[6] = own[6] == '5' ? '6' : '5'; // in place
        EXPECT_EQ(CurrentBias(), own[6] == '5' ? 300 : 360);
        unsetenv("TZ");
        EXPECT_EQ(CurrentBias(), system);
    }
}

std::string ZoneFile(const char* name)
{
    std::ifstream file(std::string("/usr/share/zoneinfo/") + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(ZoneTest, FollowsAChangeOfTheFile)
{
    if (!HasZoneFiles())
    {
        GTEST_SKIP() << "this machine has no zone files";
    }
    const TemporaryDirectory folder;
    const std::string path = (folder.Path() / "zone").string();
    const auto replace = [&](const std::string& bytes) {
        std::ofstream(path + ".new", std::ios::binary) << bytes;
        std::filesystem::rename(path + ".new", path);
    };
    Set(path);
    EXPECT_EQ(CurrentBias(), 0);
    replace(ZoneFile("Asia/Tokyo"));
    EXPECT_TRUE(Eventually([] { return CurrentBias() == -540; }));
    replace(ZoneFile("Asia/Kolkata"));
    EXPECT_TRUE(Eventually([] { return CurrentBias() == -330; }));
    std::filesystem::remove(path);
    EXPECT_TRUE(Eventually([] { return CurrentBias() == 0; }));
}

TEST_F(ZoneTest, RefusesFilesThatAreCut)
{
    for (const char* name : {"Europe/Berlin", "Africa/Casablanca", "Asia/Tokyo"})
    {
        const std::string whole = ZoneFile(name);
        for (std::size_t length = 0; length < whole.size(); ++length)
        {
            ASSERT_FALSE(ParseZoneFile(whole.substr(0, length))) << name << " cut to " << length;
        }
    }
}

TEST_F(ZoneTest, SurvivesFilesThatAreDamaged)
{
    const std::string whole = ZoneFile("Europe/Berlin");
    std::mt19937 random(1);
    std::size_t read = 0;
    for (int round = 0; round < 20'000 && !whole.empty(); ++round)
    {
        std::string damaged = whole;
        for (auto count = 1 + random() % 3; count != 0; --count)
        {
            damaged[random() % (round % 2 == 0 ? 60 : damaged.size())] = static_cast<char>(random());
        }
        if (const auto zone = ParseZoneFile(damaged))
        {
            ++read;
            const ZoneRecord record = MakeZoneRecord(*zone, random() * std::int64_t{8});
            EXPECT_NE(record.id, TIME_ZONE_ID_INVALID);
            EXPECT_LE(record.from, record.until);
        }
    }
    EXPECT_TRUE(read > 0 || whole.empty());
}

} // namespace

} // namespace Quoll::Platform
