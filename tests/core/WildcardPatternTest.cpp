#include "Quoll/WildcardPattern.h"
#include "Quoll/StringUtilities.h"
#include "core/regex/Matcher.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <utility>
#include <vector>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

struct Translation : WildcardPattern
{
    using WildcardPattern::ToRegexString;
};

TEST(WildcardPatternTest, Matches)
{
    const struct
    {
        WString pattern;
        WString text;
        bool matches;
    } table[] = {
        {"*.TXT"_w, "a.txt"_w, true},
        {"*.TXT"_w, "a.txt.bak"_w, false},
        {"a.c"_w, "abc"_w, false},
        {"(x)[y]{z}^$|\\"_w, "(X)[y]{z}^$|\\"_w, true},
        {""_w, ""_w, true},
        {"\xD0\x96*"_w, "\xD0\xB6\xD0\xB0"_w, true},
        {"\xC3\x84?"_w, "\xC3\xA4\xC3\x96"_w, true},
        {"?"_w, "\xE2\x80\xA9"_w, false}, // U+2029
        {"a\0?"_w, "A\0\0"_w, true},
        {"a*a"_w, "a"_w, false},
    };
    for (const auto& row : table)
    {
        EXPECT_EQ(WildcardPattern(row.pattern).Match(row.text), row.matches)
            << StringUtilities::Utf16ToUtf8(row.pattern) << " " << StringUtilities::Utf16ToUtf8(row.text);
    }
    EXPECT_EQ(Translation::ToRegexString("*?+\\.(){}[]^$|-a"_w), ".*.+\\\\\\.\\(\\)\\{\\}\\[\\]\\^\\$\\|-a"_w);
}

TEST(WildcardPatternTest, WithoutPatternNothingMatches)
{
    WildcardPattern pattern("*"_w);
    const WildcardPattern copy = pattern;
    const WildcardPattern moved = std::move(pattern);
    EXPECT_TRUE(copy.Match(""_w) && moved.Match(""_w));
    EXPECT_FALSE(pattern.Match(""_w) || WildcardPattern().Match(""_w));
}

// All texts of the units, up to a length.
std::vector<WString> AllTexts(const WString& units, std::size_t length)
{
    std::vector<WString> texts(1);
    for (std::size_t i = 0; texts[i].size() < length; ++i)
    {
        for (const WChar unit : units)
        {
            texts.push_back(texts[i] + unit);
        }
    }
    return texts;
}

TEST(WildcardPatternTest, MeansItsRegularExpression)
{
    const std::vector<WString> texts = AllTexts("aB\n"_w, 4);
    for (const WString& pattern : AllTexts("Ab?*+\n"_w, 4))
    {
        std::unique_ptr<WildcardPattern> ours;
        std::unique_ptr<Regex::Program> oracle;
        std::regex_constants::error_type error{};
        std::regex_constants::error_type expected{};
        try
        {
            const WString whole = "^"_w + Translation::ToRegexString(StringUtilities::ToLower(pattern)) + "$"_w;
            oracle = std::make_unique<Regex::Program>(Regex::Compile(whole));
        }
        catch (const std::regex_error& failure)
        {
            expected = failure.code();
        }
        try
        {
            ours = std::make_unique<WildcardPattern>(pattern);
        }
        catch (const std::regex_error& failure)
        {
            error = failure.code();
        }
        ASSERT_EQ(error, expected) << StringUtilities::Utf16ToUtf8(pattern);
        for (std::size_t i = 0; ours && i < texts.size(); ++i)
        {
            const WString lower = StringUtilities::ToLower(texts[i]);
            ASSERT_EQ(ours->Match(texts[i]), Regex::Matcher(*oracle, lower).Search(0))
                << StringUtilities::Utf16ToUtf8(pattern) << " " << StringUtilities::Utf16ToUtf8(texts[i]);
        }
    }
}

TEST(WildcardPatternTest, AnyLengthEnds)
{
    const WString text(1'000'000, 'A');
    const WString half(300, 'a');
    WString stars;
    for (int i = 0; i < 20; ++i)
    {
        stars += "*a"_w;
    }
    EXPECT_FALSE(WildcardPattern(stars + "*b"_w).Match(text));
    EXPECT_TRUE(WildcardPattern(stars + "+*"_w).Match(text));
    EXPECT_FALSE(WildcardPattern(stars + "\n*"_w).Match(text));
    // A piece that nearly fits everywhere, in one word of states and in many.
    EXPECT_TRUE(WildcardPattern("*aaa?aaac*"_w).Match(text + "aaaabaaac"_w));
    EXPECT_TRUE(WildcardPattern("*"_w + half + "ba*"_w).Match(text + "ba"_w));
    EXPECT_FALSE(WildcardPattern("*"_w + half + "?"_w + half + "b*"_w).Match(text));
    EXPECT_TRUE(WildcardPattern("*"_w + half + "b*"_w + half + "+?"_w).Match(text + "B"_w + half + "c"_w));
    EXPECT_FALSE(WildcardPattern("*"_w + half + "b*"_w + half + "+?"_w).Match(text + "B"_w + half));
}

} // namespace

} // namespace Quoll::Utilities
