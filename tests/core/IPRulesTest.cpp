#include "Quoll/IPRules.h"
#include "Quoll/StringUtilities.h"
#include "core/CharacterClass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

TEST(IPRulesTest, FourParts)
{
    for (const WideLiteral& good : {"1.2.3.4"_w, "255.255.255.255"_w, "1.x.y.z"_w, "1. \t+2.3z.-0"_w, "0001.0.0.0"_w,
                                    "\xE2\x80\x83"
                                    "1.2.3.4"_w,
                                    "1.2.3.4\0x"_w})
    {
        EXPECT_TRUE(IPRules::isValidIPv4(good)) << StringUtilities::Utf16ToUtf8(good);
    }
    for (const WideLiteral& bad : {""_w, "1.2.3"_w, "1.2..3.4"_w, "1.2.3.4."_w, ".1.2.3"_w, "0.1.2.3"_w, "x.1.2.3"_w,
                                   "- 1.2.3.4"_w, "1.2.3.256"_w, "1.2.3.-1"_w, "1.2.3.4294967297"_w,
                                   "1.2.3.18446744073709551617"_w, "1.2.3.4\0."_w, "1.2.3\0.4"_w})
    {
        EXPECT_FALSE(IPRules::isValidIPv4(bad)) << StringUtilities::Utf16ToUtf8(bad);
    }
    EXPECT_FALSE(IPRules::isValidIPv4("1.2.3."_w + WString(1'000'000, '9')));
}

TEST(IPRulesTest, HexadecimalParts)
{
    for (const WideLiteral& good : {"::1"_w, "fe80::1"_w, "12345::"_w, "xa::"_w, "beef"_w, ":"_w, "1:2:3:4:5:6:7:8"_w,
                                    "80000000"_w, "-0::"_w, "\0:"_w})
    {
        EXPECT_TRUE(IPRules::isValidIPv6(good)) << StringUtilities::Utf16ToUtf8(good);
    }
    for (const WideLiteral& bad : {""_w, "g::"_w, "-1::"_w, "1:2:3:4:5:6:7:8:9"_w, "::\xC2\xA0-0x1"_w, "-80000001"_w})
    {
        EXPECT_FALSE(IPRules::isValidIPv6(bad)) << StringUtilities::Utf16ToUtf8(bad);
    }
    EXPECT_FALSE(IPRules::isValidIPv6("-"_w + WString(1'000'000, 'f')));
}

// The reading as a stream does it.
bool PassesAsSlowly(const WString& text)
{
    std::wistringstream stream;
    for (const WString& part : StringUtilities::Split(text, ":"_w, true))
    {
        int value = 0;
        stream.clear();
        stream.str(std::wstring(part.begin(), part.end()));
        stream >> std::hex >> value;
        if (std::none_of(part.begin(), part.end(), IsHexDigit) || value < 0)
        {
            return false;
        }
    }
    return !text.empty();
}

TEST(IPRulesTest, HexadecimalPartsReadAsStreamsReadThem)
{
    const WString units = "-+0xXf :g"_w;
    for (unsigned code = 0; code < 9 * 9 * 9 * 9 * 9; ++code)
    {
        WString text;
        for (unsigned rest = code; rest > 0; rest /= 9)
        {
            text += units[rest % 9];
        }
        ASSERT_EQ(IPRules::isValidIPv6(text), PassesAsSlowly(text)) << StringUtilities::Utf16ToUtf8(text);
    }
}

} // namespace

} // namespace Quoll::Utilities
