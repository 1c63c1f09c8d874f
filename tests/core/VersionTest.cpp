#include "Quoll/Version.h"
#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"
#include "support/MessageOf.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

const std::string BadText = Win32Exception("String is not a valid version string", 87).what();
const std::string BadFormat = Win32Exception("Can't generate a valid version string", 87).what();

WString Read(WStringView text)
{
    return Version(text).ToString("%u.%u.%u.%u"_w);
}

template<class Action>
std::string MessageOf(const Action& action)
{
    return Tests::MessageOf<Win32Exception>(action);
}

} // namespace

TEST(VersionTest, TextIsScannedAsCDoes)
{
    EXPECT_EQ(Read("1.2.3.4"_w), WString("1.2.3.4"_w));
    EXPECT_EQ(Read("01.2.3.4abc"_w), WString("1.2.3.4"_w));
    EXPECT_EQ(Read(" 1.\t2.\r\n3.\v\f4 5"_w), WString("1.2.3.4"_w));
    EXPECT_EQ(Read("-1.+1.-0.-4294967295"_w), WString("4294967295.1.0.1"_w));
    EXPECT_EQ(Read("4294967295.4294967296.18446744073709551617.0"_w), WString("4294967295.0.1.0"_w));
    EXPECT_EQ(Read(WString(1'000'000, '1') + ".0.0.0"_w), WString("3340530119.0.0.0"_w));
    for (const WideLiteral& text :
         {""_w, "1.2.3"_w, "1.2.3.4.5"_w, "1.2.3.x"_w, "1.2.3."_w, "1 .2.3.4"_w, "+ 1.2.3.4"_w, "1.2.3.\0004"_w,
          "1.2\0.3.4"_w, "\xC2\xA0.2.3.4"_w, "1.2.3.\xD9\xA1"_w})
    {
        EXPECT_EQ(MessageOf([&] { Read(text); }), BadText) << StringUtilities::TruncateToAscii(text);
    }
}

TEST(VersionTest, RefusedTextLeavesTheVersion)
{
    Version version(1, 2, 3, 4);
    EXPECT_EQ(MessageOf([&] { version.SetVersion("5.6.7.x"); }), BadText);
    EXPECT_THROW(version.SetVersion("5.6.7.8\xFF"), ConversionException);
    EXPECT_EQ(version.ToString(), WString("1.2.3.4"_w));
    EXPECT_EQ(MessageOf([] { Version::CheckCompleteVersionFormat("1.2"_w); }), BadText);
    EXPECT_NO_THROW(Version::CheckCompleteVersionFormat("1.2.3.x"_w));
    version.SetVersion("5.6.7.8");
    EXPECT_EQ(version, Version(5, 6, 7, 8));
}

TEST(VersionTest, RecordHasTheReverseOrder)
{
    const _CVersion record = Version(1, 2, 3, 4).GetCVerison();
    std::array<std::uint32_t, 4> parts{};
    static_assert(sizeof(record) == sizeof(parts));
    std::memcpy(parts.data(), &record, sizeof(record));
    EXPECT_EQ(parts, (std::array<std::uint32_t, 4>{4, 3, 2, 1}));
    EXPECT_EQ(Version(record), Version(1, 2, 3, 4));
}

TEST(VersionTest, OrderIsThatOfUnsignedParts)
{
    const Version ordered[] = {{0, 0, 0, 1},  {0, 0, 1, 0}, {1, 2, 3, 4},
                               {1, 2, 3, 10}, {1, 3, 0, 0}, {1U << 31, 0, 0, 0}};
    for (const Version& left : ordered)
    {
        for (const Version& right : ordered)
        {
            const int expected = &left < &right ? -1 : &left > &right ? 1 : 0;
            EXPECT_EQ(left.Compare(right), expected);
            EXPECT_EQ((std::array{left == right, left<right, left> right}),
                      (std::array{expected == 0, expected < 0, expected > 0}));
            EXPECT_EQ((std::array{left != right, left >= right, left <= right}),
                      (std::array{expected != 0, expected >= 0, expected <= 0}));
        }
    }
}

TEST(VersionTest, CallersFormatsPrint)
{
    const Version version(1, 2, 0xFFFFFFFF, 'A');
    EXPECT_EQ(version.ToCharString(), "1.2.-1.65");
    EXPECT_EQ(version.ToString("%u.%02d.%lu %I32x"_w), WString("1.02.4294967295 41"_w));
    EXPECT_EQ(version.ToString("%*d|%hd|%lc"_w), WString("2|-1|A"_w));
    EXPECT_EQ(version.ToString("%-3.2d|%%|%+i"_w), WString("01 |%|+2"_w));
    EXPECT_EQ(version.ToString("%*.*d %d"_w), WString("-01 65"_w));
    EXPECT_EQ(version.ToString("\xC3\x84\0%s"_w), WString("\xC3\x84"_w));
    EXPECT_EQ(version.ToString("%255d"_w), WString(254, ' ') + "1"_w);
}

TEST(VersionTest, FormatsThatAskForMoreAreRefused)
{
    for (const WideLiteral& format : {""_w,
                                      "%"_w,
                                      "%s"_w,
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
        EXPECT_EQ(MessageOf([&] { Version().ToString(format); }), BadFormat)
            << StringUtilities::TruncateToAscii(format);
    }
}

} // namespace Quoll::Utilities
