#include "Quoll/Version.h"
#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <optional>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

using Parts = std::array<std::uint32_t, 4>;

std::optional<Parts> Read(WStringView text)
{
    try
    {
        const Version version(text);
        return Parts{version.GetMajor(), version.GetMinor(), version.GetRevision(), version.GetBuild()};
    }
    catch (const Win32Exception&)
    {
        return std::nullopt;
    }
}

void ExpectInvalid(const std::string& context, const std::function<void()>& action)
{
    try
    {
        action();
        ADD_FAILURE() << context;
    }
    catch (const Win32Exception& error)
    {
        EXPECT_EQ(error.GetErrorCode(), 87u);
        EXPECT_EQ(std::string(error.what()).rfind(context + ": ", 0), 0u) << error.what();
    }
}

} // namespace

TEST(VersionTest, TextIsScannedAsCDoes)
{
    const std::pair<WideLiteral, std::optional<Parts>> cases[] = {
        {"1.2.3.4"_w, Parts{1, 2, 3, 4}},
        {"1.2.3.4abc"_w, Parts{1, 2, 3, 4}},
        {" 1.\t2.\r\n3.\v\f4 5"_w, Parts{1, 2, 3, 4}},
        {"-1.+1.-0.-4294967295"_w, Parts{0xFFFFFFFF, 1, 0, 1}},
        {"4294967295.4294967296.4294967297.18446744073709551617"_w, Parts{0xFFFFFFFF, 0, 1, 1}},
        {"0007.010.0.0x5"_w, Parts{7, 10, 0, 0}},
        {""_w, std::nullopt},
        {"1.2.3"_w, std::nullopt},
        {"1.2.3.4.5"_w, std::nullopt},
        {"1.2.3.4."_w, std::nullopt},
        {"..."_w, std::nullopt},
        {"1.2.3.x"_w, std::nullopt},
        {"1.2.3."_w, std::nullopt},
        {"1 .2.3.4"_w, std::nullopt},
        {"+ 1.2.3.4"_w, std::nullopt},
        {"--1.2.3.4"_w, std::nullopt},
        {"1.2.3.\0004"_w, std::nullopt}, // the scan ends at a NUL, the dots are counted behind it as well
        {"1.2\0.3.4"_w, std::nullopt},
        {"\xC2\xA0"
         "1.2.3.4"_w,
         std::nullopt},                     // white space, but not of C
        {"1.2.3.\xD9\xA1"_w, std::nullopt}, // an Arabic digit
    };
    for (const auto& [text, expected] : cases)
    {
        EXPECT_EQ(Read(text), expected) << StringUtilities::TruncateToAscii(text);
    }
    EXPECT_EQ(Read(WString(1'000'000, '1') + ".0.0.0"_w), (Parts{3'340'530'119, 0, 0, 0}));
    EXPECT_EQ(Read(WString(1'000'000, '.')), std::nullopt);
}

TEST(VersionTest, RefusedTextLeavesTheVersion)
{
    Version version(1, 2, 3, 4);
    const std::string message = "String is not a valid version string";
    ExpectInvalid(message, [&] { version.SetVersion("5.6.7.x"_w); });
    ExpectInvalid(message, [&] { version.SetVersion("5.6.7"); });
    ExpectInvalid(message, [&] { Version::CheckCompleteVersionFormat(""_w); });
    EXPECT_NO_THROW(Version::CheckCompleteVersionFormat("1.2.3.x"_w));
    EXPECT_THROW(version.SetVersion("5.6.7.8\xFF"), ConversionException);
    EXPECT_EQ(version.ToString(), WString("1.2.3.4"_w));
    version.SetVersion("5.6.7.8");
    EXPECT_EQ(version, Version(5, 6, 7, 8));
}

TEST(VersionTest, RecordHasTheReverseOrder)
{
    const _CVersion record = Version(1, 2, 3, 4).GetCVerison();
    EXPECT_EQ(offsetof(_CVersion, build), 0u);
    EXPECT_EQ(offsetof(_CVersion, revision), 4u);
    EXPECT_EQ(offsetof(_CVersion, minor), 8u);
    EXPECT_EQ(offsetof(_CVersion, major), 12u);
    EXPECT_EQ(Version(record), Version(1, 2, 3, 4));
}

TEST(VersionTest, OrderIsThatOfUnsignedParts)
{
    const Version ordered[] = {Version(),           Version(0, 0, 0, 1),         Version(0, 0, 1, 0),
                               Version(1, 2, 3, 4), Version(1, 2, 3, 10),        Version(1, 3, 0, 0),
                               Version(2, 0, 0, 0), Version(0x80000000, 0, 0, 0)};
    for (const Version& left : ordered)
    {
        for (const Version& right : ordered)
        {
            const int expected = &left < &right ? -1 : &left > &right ? 1 : 0;
            EXPECT_EQ(left.Compare(right), expected);
            EXPECT_EQ(left == right, expected == 0);
            EXPECT_EQ(left != right, expected != 0);
            EXPECT_EQ(left < right, expected < 0);
            EXPECT_EQ(left <= right, expected <= 0);
            EXPECT_EQ(left > right, expected > 0);
            EXPECT_EQ(left >= right, expected >= 0);
        }
    }
}

TEST(VersionTest, CallersFormatsPrint)
{
    const Version version(1, 2, 0xFFFFFFFF, 'A');
    EXPECT_EQ(version.ToString(), WString("1.2.-1.65"_w));
    EXPECT_EQ(version.ToCharString(), "1.2.-1.65");
    const std::pair<WideLiteral, WideLiteral> cases[] = {
        {"%u"_w, "1"_w},
        {"%u.%02d.%lu %I32x"_w, "1.02.4294967295 41"_w},
        {"%*d|%hd|%lc"_w, "2|-1|A"_w},
        {"%-3.2d|%%|%+i"_w, "01 |%|+2"_w},
        {"%*.*d %d"_w, "-01 65"_w},
        {"\xC3\x84%#X"_w, "\xC3\x84"
                          "0X1"_w},
        {"no part"_w, "no part"_w},
        {"a\0%s"_w, "a"_w},
    };
    for (const auto& [format, expected] : cases)
    {
        EXPECT_EQ(version.ToString(format), WString(expected)) << StringUtilities::TruncateToAscii(format);
    }
}

TEST(VersionTest, FormatsThatAskForMoreAreRefused)
{
    const Version version(1, 2, 3, 4);
    for (const WideLiteral& format : {""_w,
                                      "\0x"_w,
                                      "%"_w,
                                      "%s"_w,
                                      "%S"_w,
                                      "%ls"_w,
                                      "%n"_w,
                                      "%hn"_w,
                                      "%p"_w,
                                      "%f"_w,
                                      "%5-%s"_w,
                                      "%..%s"_w,
                                      "%5*%s"_w,
                                      "%lld"_w,
                                      "%I64d"_w,
                                      "%zu"_w,
                                      "%jd"_w,
                                      "%hhhd"_w,
                                      "%hls"_w,
                                      "%y"_w,
                                      "%d%d%d%d%d"_w,
                                      "%*d%*d%d"_w,
                                      "%256d"_w,
                                      "%.256d"_w,
                                      "%2147483647d"_w,
                                      "%99999999999d"_w,
                                      "%d%2147483647d%2147483647d"_w})
    {
        ExpectInvalid("Can't generate a valid version string", [&] { version.ToString(format); });
    }
    ExpectInvalid("Can't generate a valid version string", [&] { version.ToString(WString(1'000'000, 'x')); });
    EXPECT_EQ(version.ToString("%255d"_w), WString(254, ' ') + "1"_w);
}

} // namespace Quoll::Utilities
