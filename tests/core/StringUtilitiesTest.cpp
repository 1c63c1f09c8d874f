#include "Quoll/StringUtilities.h"

#include "Quoll/Errors.h"
#include "core/CharacterClass.h"

#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <stdexcept>
#include <string>

using namespace Quoll;
using namespace Quoll::Utilities;

using Strings = StringUtilities;

namespace
{

// For messages: gtest doesn't print 16-bit text.
std::string Shown(const WString& text)
{
    return Strings::TruncateToAscii(text);
}

template<auto Operation>
WString ResultOf(WString text, const WString& search, const WString& replacement)
{
    Operation(text, search, replacement);
    return text;
}

constexpr auto Replaced = ResultOf<Strings::Replace>;
constexpr auto AllReplaced = ResultOf<Strings::ReplaceAll>;
constexpr auto BeginReplaced = ResultOf<Strings::ReplaceAtBegin>;
constexpr auto EndReplaced = ResultOf<Strings::ReplaceAtEnd>;

WString Trimmed(WString text, const WString& set)
{
    Strings::Trim(text, set);
    return text;
}

WString Formatted(const WChar* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    WString text = Strings::FormatMessageWV(format, arguments);
    va_end(arguments);
    return text;
}

std::regex_constants::error_type RegexError(const WString& text, const WString& pattern)
{
    try
    {
        Strings::ReplaceRegex(text, pattern, "x"_w);
    }
    catch (const std::regex_error& error)
    {
        return error.code();
    }
    return {};
}

} // namespace

TEST(StringUtilities, ConvertsBothWaysUpToTheFirstNul)
{
    const std::string bytes = "a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80";
    const WString wide = "aä中😀"_w;
    EXPECT_EQ(Strings::Utf8ToUtf16(bytes), wide);
    EXPECT_EQ(Strings::Utf16ToUtf8(wide), bytes);
    EXPECT_EQ(Strings::Utf8ToUtf16(std::string("a\0b", 3)), WString("a"_w));
    EXPECT_EQ(Strings::Utf16ToUtf8(WString("a\0b"_w)), "a");
    EXPECT_TRUE(Strings::Utf8ToUtf16("").empty());
    EXPECT_EQ(Strings::TruncateToAscii("aä\x7F\0b"_w), std::string("a?\x7F\0b", 5));
}

TEST(StringUtilities, RefusesIllFormedTextAndKeepsTheOutput)
{
    WString wide = "kept"_w;
    EXPECT_THROW(Strings::Utf8ToUtf16("\xFF", wide), ConversionException);
    EXPECT_THROW(Strings::Utf8ToUtf16("ab\xE2\x82"), ConversionException);
    EXPECT_EQ(wide, WString("kept"_w));
    std::string bytes = "kept";
    try
    {
        Strings::Utf16ToUtf8(WString{'A', 0xD800}, bytes);
        FAIL();
    }
    catch (const ConversionException& exception)
    {
        EXPECT_STREQ(exception.what(), "bad conversion. Can't convert bytes: 6500-40. from UTF-16 to UTF-8");
    }
    EXPECT_EQ(bytes, "kept");
}

TEST(StringUtilities, ChecksUtf8)
{
    for (const char* valid : {"", "a", "\xC2\x80", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF"})
    {
        EXPECT_TRUE(Strings::IsValidUtf8(valid)) << valid;
    }
    EXPECT_TRUE(Strings::IsValidUtf8(std::string("a\0b", 3)));
    for (const char* invalid : {"\xFF", "\x80", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE4\xB8", "\xF0\x80"})
    {
        EXPECT_FALSE(Strings::IsValidUtf8(invalid)) << invalid;
    }
}

TEST(StringUtilities, ChangesCaseUnitByUnit)
{
    EXPECT_EQ(Strings::ToUpper(WString("aZä жß😀"_w)), WString("AZÄ Жß😀"_w));
    WString text = "AZÄ Ж"_w;
    Strings::ToLower(text);
    EXPECT_EQ(text, WString("azä ж"_w));
    std::string bytes = "az\xC3\xA4";
    Strings::ToUpper(bytes);
    EXPECT_EQ(bytes, "AZ\xC3\xA4");
    EXPECT_TRUE(Strings::ContainsNoCase("Straße Ä"_w, "ßE ä"_w));
    EXPECT_TRUE(Strings::ContainsNoCase("x"_w, ""_w));
    EXPECT_FALSE(Strings::ContainsNoCase("ab"_w, "ba"_w));
}

TEST(StringUtilities, ComparesWithoutTheCaseOfAsciiAlone)
{
    EXPECT_EQ(Strings::CompareNoCase("aBc\0x"_w, "AbC\0y"_w), 0);
    EXPECT_LT(Strings::CompareNoCase("ab"_w, "ABC"_w), 0);
    EXPECT_GT(Strings::CompareNoCase("b"_w, "A"_w), 0);
    EXPECT_NE(Strings::CompareNoCase("ä"_w, "Ä"_w), 0);
    EXPECT_LT(Strings::CompareNoCase("_"_w, "a"_w), 0);
}

TEST(StringUtilities, GivesOneLocaleWhateverTheEnvironment)
{
    EXPECT_EQ(&Strings::GetLocale(), &Strings::GetLocale());
    EXPECT_EQ(std::use_facet<std::ctype<char>>(Strings::GetLocale()).toupper('\xE4'), '\xE4');
}

TEST(StringUtilities, TakesParts)
{
    EXPECT_TRUE(Strings::StartsWith("abc"_w, "ab"_w));
    EXPECT_FALSE(Strings::StartsWith("a"_w, "ab"_w));
    EXPECT_TRUE(Strings::EndsWith("abc"_w, ""_w));
    EXPECT_FALSE(Strings::EndsWith("abc"_w, "B"_w));
    EXPECT_EQ(Strings::Left("abc"_w, 2), WString("ab"_w));
    EXPECT_EQ(Strings::Left("abc"_w, 9), WString("abc"_w));
    EXPECT_EQ(Strings::Mid("abc"_w, 1), WString("bc"_w));
    EXPECT_EQ(Strings::Mid("abc"_w, 3), WString());
    try
    {
        Strings::Mid("abc"_w, 4);
        FAIL();
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "invalid string position");
    }
}

TEST(StringUtilities, SplitsAsATokenizer)
{
    struct Case
    {
        WString text;
        WString delimiters;
        bool skipEmpty;
        std::vector<WString> items;
    };
    const Case cases[] = {
        {"a,b"_w, ","_w, false, {"a"_w, "b"_w}},
        {",a"_w, ","_w, false, {"a"_w}},
        {"a,"_w, ","_w, false, {"a"_w}},
        {"a,,b"_w, ","_w, false, {"a"_w, ""_w, "b"_w}},
        {"a,,,b"_w, ","_w, false, {"a"_w, ""_w, "b"_w}},
        {"a,,b"_w, ","_w, true, {"a"_w, "b"_w}},
        {"a,,,b"_w, ","_w, true, {"a"_w, "b"_w}},
        {""_w, ","_w, false, {}},
        {"x"_w, ""_w, false, {"x"_w, ""_w}},
        {"x"_w, ""_w, true, {"x"_w}},
        {"a,;,b;,c"_w, ",;"_w, false, {"a"_w, "b"_w, "c"_w}},
        {"a,,;b"_w, ",;"_w, false, {"a"_w, ""_w, "b"_w}},
        {"a,b\0c,d"_w, ","_w, true, {"a"_w, "b"_w}},
    };
    for (const Case& test : cases)
    {
        EXPECT_EQ(Strings::Split(test.text, test.delimiters, test.skipEmpty), test.items) << Shown(test.text);
    }
}

TEST(StringUtilities, ReplacesInOnePass)
{
    EXPECT_EQ(Replaced("aXbX"_w, "X"_w, "XX"_w), WString("aXXbXX"_w));
    EXPECT_EQ(Replaced("aab"_w, "ab"_w, "b"_w), WString("ab"_w));
    EXPECT_EQ(Replaced("aaa"_w, "aa"_w, ""_w), WString("a"_w));
    EXPECT_EQ(Replaced("abc"_w, ""_w, "x"_w), WString("abc"_w));
    WString self = "abab"_w;
    Strings::Replace(self, self, self);
    EXPECT_EQ(self, WString("abab"_w));
}

TEST(StringUtilities, ReplacesWhatReplacingMakes)
{
    EXPECT_EQ(AllReplaced("aabb"_w, "ab"_w, "b"_w), WString("bb"_w));
    EXPECT_EQ(AllReplaced("a////b//"_w, "//"_w, "/"_w), WString("a/b/"_w));
    EXPECT_EQ(AllReplaced("baab"_w, "ab"_w, "ba"_w), WString("bbaa"_w));
    EXPECT_NO_THROW(AllReplaced(""_w, "a"_w, "aa"_w));
    EXPECT_NO_THROW(AllReplaced("b"_w, ""_w, "aa"_w));
    EXPECT_THROW(AllReplaced("b"_w, "a"_w, "xax"_w), std::runtime_error);
    EXPECT_EQ(AllReplaced(WString(1 << 20, 'a') + "b"_w, "ab"_w, "b"_w), WString("b"_w));
}

TEST(StringUtilities, ReplacesAtBeginBySetAndAtEndBySuffix)
{
    EXPECT_EQ(BeginReplaced("bcd"_w, "ab"_w, "X"_w), WString("Xd"_w));
    EXPECT_EQ(BeginReplaced("bc"_w, "abcdef"_w, "X"_w), WString("X"_w));
    EXPECT_EQ(BeginReplaced("xbc"_w, "ab"_w, "X"_w), WString("xbc"_w));
    EXPECT_EQ(BeginReplaced("中b"_w, "中"_w, "X"_w), WString("Xb"_w));
    EXPECT_EQ(BeginReplaced("a"_w, "š"_w, "X"_w), WString("a"_w)); // equal modulo 256 to a low unit
    EXPECT_EQ(EndReplaced("abab"_w, "ab"_w, "X"_w), WString("abX"_w));
    EXPECT_EQ(EndReplaced("b"_w, "ab"_w, "X"_w), WString("b"_w));
    EXPECT_EQ(EndReplaced("b"_w, ""_w, "X"_w), WString("b"_w));
    WString text = "b"_w;
    Strings::AddAtEndIfNotExists(text, "ab"_w);
    Strings::AddAtEndIfNotExists(text, "ab"_w);
    Strings::AddAtEndIfNotExists(text, ""_w);
    EXPECT_EQ(text, WString("bab"_w));
}

TEST(StringUtilities, TrimsUnitsOfASet)
{
    EXPECT_EQ(Trimmed("  a b \t"_w, " \t"_w), WString("a b"_w));
    EXPECT_EQ(Trimmed("中a中"_w, "中 "_w), WString("a"_w));
    EXPECT_EQ(Trimmed("   "_w, " "_w), WString());
    EXPECT_EQ(Trimmed(" a "_w, ""_w), WString(" a "_w));
    EXPECT_EQ(Trimmed("ġ"_w, "!"_w), WString("ġ"_w)); // U+0121 ends in the set's byte
}

TEST(StringUtilities, PrintsHexadecimalAndChecksDigits)
{
    EXPECT_EQ(Strings::ToHex(-1), WString("0xFFFFFFFF"_w));
    EXPECT_EQ(Strings::ToHexStr(10), "0x0000000A");
    EXPECT_TRUE(Strings::VerifyContainsOnlyNumbers("0129"_w));
    EXPECT_TRUE(Strings::VerifyContainsOnlyNumbers(""_w));
    EXPECT_FALSE(Strings::VerifyContainsOnlyNumbers("1٣"_w)); // an Arabic digit
    EXPECT_TRUE(Strings::VerifyContainsOnlyHexNumbers("09afAF"_w));
    EXPECT_FALSE(Strings::VerifyContainsOnlyHexNumbers("0x1"_w));
    EXPECT_TRUE(IsSpace(0x3000) && IsSpace('\v') && !IsSpace(0x200B));
}

TEST(StringUtilities, FormatsMessagesWithTheirLimit)
{
    const WString name = "Wörter"_w;
    EXPECT_EQ(Strings::FormatMessageW("%2!d! %1"_w, name.c_str(), 7), "7 "_w + name);
    EXPECT_EQ(Strings::FormatMessageW("%1!4095d!"_w, 1).size(), 4095u);
    EXPECT_EQ(Strings::FormatMessageW("%1!4096d!"_w, 1), WString());
    EXPECT_EQ(Formatted("%1!4096d!"_w, 1).size(), 4096u);
    EXPECT_EQ(Formatted("%1 %2!S!"_w, name.c_str(), "x"), name + " x"_w);
    EXPECT_EQ(Formatted("%1!d"_w, 1), WString());
    EXPECT_EQ(Formatted(nullptr), WString());
}

TEST(StringUtilities, PrintsOrGivesAnEmptyText)
{
    EXPECT_EQ(Strings::SafeSprintf("%s-%S-%05d"_w, "ä"_w.data(), "b", 42), WString("ä-b-00042"_w));
    EXPECT_EQ(Strings::SafeSprintf("%100000d"_w, 1).size(), 100000u);
    EXPECT_EQ(Strings::SafeSprintf("a%cb"_w, 0), WString("a"_w));
    EXPECT_EQ(Strings::SafeSprintf("a%"_w), WString());
    EXPECT_EQ(Strings::SafeSprintf(nullptr), WString());
}

TEST(StringUtilities, LendsItsBuffer)
{
    WString text = "abc"_w;
    WChar* const buffer = Strings::GetBuffer(text, 6);
    EXPECT_EQ(WStringView(buffer, 6), WStringView("abc\0\0\0"_w));
    buffer[1] = 0;
    Strings::ReleaseBuffer(text);
    EXPECT_EQ(text, WString("a"_w));
}

// The expectations are what std::regex_replace gives.
TEST(StringUtilitiesRegex, ReplacesAsTheStandardDoes)
{
    struct Case
    {
        WString pattern;
        WString text;
        WString result;
    };
    const Case cases[] = {
        {"a|ab"_w, "ab"_w, "<a>b"_w},
        {"a*"_w, "aab"_w, "<aa><>b<>"_w},
        {"a*?"_w, "aa"_w, "<><a><><a><>"_w},
        {"(a|ab)(c|bcd)(d*)"_w, "abcd"_w, "<abcd>"_w},
        {"x(?=y)"_w, "xyxz"_w, "<x>yxz"_w},
        {"x(?!y)"_w, "xyxz"_w, "xy<x>z"_w},
        {"\\bfoo\\b"_w, "foo foobar foo"_w, "<foo> foobar <foo>"_w},
        {"^a|b$"_w, "aa bb"_w, "<a>a b<b>"_w},
        {"a{2,3}?"_w, "aaaaa"_w, "<aa><aa>a"_w},
        {"(ab){2}|[^a-y]"_w, "abababz"_w, "<abab>ab<z>"_w},
        {"[\\d_-]+"_w, "a1-2_b"_w, "a<1-2_>b"_w},
        {"[[:alpha:]\\s]+"_w, "1ab c2"_w, "1<ab c>2"_w},
        {"(.)\\1"_w, "abba"_w, "a<bb>a"_w},
        {"(a*)*b"_w, "aab"_w, "<aab>"_w},
        {"\\u4e2d\\x41\\."_w, "中A."_w, "<中A.>"_w},
        {"."_w, "a\nb"_w, "<a>\n<b>"_w},
        {""_w, "ab"_w, "<>a<>b<>"_w},
    };
    for (const Case& test : cases)
    {
        EXPECT_EQ(Shown(Strings::ReplaceRegex(test.text, test.pattern, "<$&>"_w)), Shown(test.result))
            << Shown(test.pattern);
    }
    EXPECT_EQ(Strings::ReplaceRegex("John Smith!"_w, "(\\w+) (\\w+)"_w, "$2, $1 $$ $3|$`|$'|$"_w),
              WString("Smith, John $ ||!|$!"_w));
    EXPECT_EQ(Strings::ReplaceRegex("abcabc"_w, "c"_w, "[$`]"_w), WString("ab[ab]ab[ab]"_w));
    EXPECT_EQ(Strings::ReplaceRegex("x中一d丐丒"_w, "[xza-cb-cy\\u4e2d\\u4e00-\\u4e10\\u4e02]"_w, ""_w),
              WString("d丒"_w));
    EXPECT_EQ(Strings::ReplaceRegex("ab"_w, "(a)|b"_w, "[$1]"_w), WString("[a][]"_w));
    EXPECT_EQ(Strings::ReplaceRegex("x"_w, "(x)"_w, "$0$1-$01$00$10$12$99."_w), WString("xx-xx."_w));
    EXPECT_THROW(Strings::ReplaceRegex(WString(100000, 'a'), "(a*)\\1b"_w, ""_w), std::regex_error);
}

// Random patterns against the standard's engine, on texts short enough for it. Its empty look-ahead is
// wrong after an empty match, so there is none here.
TEST(StringUtilitiesRegex, AgreesWithTheStandardOnRandomPatterns)
{
    const char* const tokens[] = {"a", "b",   "c",    ".",    "*",     "+", "?", "*?",  "+?",   "(",   ")",
                                  "|", "(?:", "[ab]", "[^c]", "{1,2}", "^", "$", "\\b", "(?=a", "(?!b"};
    std::uint32_t state = 12345;
    const auto random = [&state](std::uint32_t bound) {
        return (state = state * 1664525 + 1013904223) / 65536 % bound;
    };
    const std::string replacement = "<$&|$`|$'|$0$00$10$12$99>";
    int compared = 0;
    for (int round = 0; round < 30000; ++round)
    {
        std::string pattern;
        for (std::uint32_t length = random(8) + 1; length > 0; --length)
        {
            pattern += tokens[random(std::size(tokens))];
        }
        std::string text;
        for (int i = 0; i < 6; ++i)
        {
            text.push_back("abc"[random(3)]);
        }
        std::string expected;
        try
        {
            expected = std::regex_replace(text, std::regex(pattern), replacement);
        }
        catch (const std::regex_error&)
        {
            continue;
        }
        try
        {
            EXPECT_EQ(Shown(Strings::ReplaceRegex(Strings::Utf8ToUtf16(text), Strings::Utf8ToUtf16(pattern),
                                                  Strings::Utf8ToUtf16(replacement))),
                      expected)
                << pattern << " on " << text;
            ++compared;
        }
        catch (const std::regex_error&)
        {
        }
    }
    EXPECT_GT(compared, 1000);
}

TEST(StringUtilitiesRegex, RefusesIllFormedPatterns)
{
    namespace Error = std::regex_constants;
    const std::pair<WString, Error::error_type> cases[] = {
        {"("_w, Error::error_paren},        {"a)"_w, Error::error_paren},
        {"*"_w, Error::error_badrepeat},    {"[a"_w, Error::error_brack},
        {"[b-a]"_w, Error::error_range},    {"a{2"_w, Error::error_brace},
        {"a{x}"_w, Error::error_badbrace},  {"a{2,1}"_w, Error::error_badbrace},
        {"\\"_w, Error::error_escape},      {"\\1"_w, Error::error_backref},
        {"\\q"_w, Error::error_escape},     {"[[:no:]]"_w, Error::error_ctype},
        {"(a\\1)"_w, Error::error_backref}, {"((a{999}){999}){999}"_w, Error::error_space},
    };
    for (const auto& [pattern, error] : cases)
    {
        EXPECT_EQ(RegexError("aaa"_w, pattern), error) << Shown(pattern);
    }
    EXPECT_EQ(RegexError("a"_w, WString(100000, '(')), Error::error_stack);
}

TEST(StringUtilitiesRegex, SurvivesAMillionUnits)
{
    const WString text(1'000'000, 'a');
    for (const WString& pattern : {WString(".*"_w), WString("a"_w), WString("(a|b)*"_w), WString("(a*)*b"_w),
                                   WString("(a+)+$"_w), WString("(a)(?=b)"_w)})
    {
        const bool none = pattern == WString("(a*)*b"_w) || pattern == WString("(a)(?=b)"_w);
        const WString result = Strings::ReplaceRegex(text, pattern, ""_w);
        EXPECT_EQ(result.size(), none ? text.size() : 0) << Shown(pattern);
    }
    EXPECT_EQ(RegexError(WString(40, 'a'), "(a*)*\\1b"_w), std::regex_constants::error_complexity);
}
