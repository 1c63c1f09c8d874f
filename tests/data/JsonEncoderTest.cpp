#include "Quoll/JsonEncoder.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>

using namespace Quoll::Literals;
using Quoll::WChar;
using Quoll::WString;
using Quoll::WStringView;
using Quoll::Utilities::JsonEncoder;

namespace
{

constexpr WStringView Masked = "\\\"\r\n\f\t\b/"_w;
constexpr WStringView Letters = "\\\"rnftb/"_w;

WString EscapeSlowly(const WString& text)
{
    WString result;
    for (const WChar unit : text)
    {
        const std::size_t index = Masked.find(unit);
        if (index != WStringView::npos)
        {
            result += WString{'\\', Letters[index]};
        }
        else if (unit < 20)
        {
            result += "\\u00"_w + WString{static_cast<WChar>('0' + unit / 16), static_cast<WChar>('0' + unit % 16)};
        }
        else
        {
            result += unit;
        }
    }
    return result;
}

WString Undo(const WString& text)
{
    try
    {
        return JsonEncoder::FromEscapedString(text);
    }
    catch (const std::invalid_argument& exception)
    {
        const std::string what = exception.what();
        return {what.begin(), what.end()};
    }
}

} // namespace

TEST(JsonEncoder, EscapesEveryUnitOnItsOwn)
{
    for (unsigned code = 1; code <= 0xFFFF; ++code)
    {
        const WString text(1, static_cast<WChar>(code));
        const bool isMasked = Masked.find(text[0]) != WStringView::npos;
        ASSERT_EQ(JsonEncoder::ToEscapedString(text), EscapeSlowly(text)) << code;
        ASSERT_EQ(JsonEncoder::IsMaskedCharacter(text[0]), isMasked) << code;
        ASSERT_EQ(JsonEncoder::NeedsEscaping(text), isMasked) << code;
        ASSERT_EQ(JsonEncoder::IsNonPrintingCharacter(text[0]), code < 20) << code;
        ASSERT_EQ(JsonEncoder::ToEscapedString(WString(text)), isMasked ? EscapeSlowly(text) : text) << code;
    }
    for (unsigned expected = 0; expected < Masked.size(); ++expected)
    {
        unsigned index = 99;
        EXPECT_TRUE(JsonEncoder::IsMaskedCharacter(Masked[expected], index));
        EXPECT_EQ(index, expected);
    }
    unsigned index = 99;
    EXPECT_FALSE(JsonEncoder::IsMaskedCharacter('r', index));
    EXPECT_EQ(index, std::numeric_limits<unsigned>::max());
}

// Text of every length up to a few blocks, with few or many escapes in it.
TEST(JsonEncoder, EscapesTextOfAnyLength)
{
    std::mt19937 random(7);
    const WString odd = WString(Masked) + "\x01\x0B\x13\x14\x1F\u2022\uFF22"_w;
    for (std::size_t size = 0; size < 80; ++size)
    {
        for (const unsigned rarity : {2u, 20u, 200u})
        {
            WString text;
            while (text.size() < size)
            {
                text += random() % rarity == 0 ? odd[random() % odd.size()] : static_cast<WChar>('A' + random() % 26);
            }
            const WString escaped = EscapeSlowly(text);
            ASSERT_EQ(JsonEncoder::ToEscapedString(text), escaped) << size;
            const std::size_t length = escaped == text ? 0 : escaped.size();
            ASSERT_EQ(JsonEncoder::CalculateOutputLength(text.c_str()), static_cast<int>(length)) << size;
            ASSERT_EQ(JsonEncoder::NeedsEscaping(text), text.find_first_of(Masked) != WString::npos) << size;
            ASSERT_EQ(JsonEncoder::IsEscaped(text), text.find('\\') != WString::npos) << size;
            std::erase_if(text, [](WChar unit) { return unit == 0x0B; }); // its escape means another unit
            ASSERT_EQ(JsonEncoder::FromEscapedString(EscapeSlowly(text)), text) << size;
        }
    }
}

TEST(JsonEncoder, EndsEscapedTextAtItsFirstNul)
{
    const WString odd = "a/b\0c/"_w;
    const WString plain = "ab\0c\x01"_w;
    EXPECT_EQ(JsonEncoder::ToEscapedString(odd), "a\\/b"_w);
    EXPECT_EQ(JsonEncoder::ToEscapedString(WString(odd)), "a\\/b"_w);
    EXPECT_EQ(JsonEncoder::ToEscapedString(plain), "ab"_w);
    EXPECT_EQ(JsonEncoder::ToEscapedString(WString(plain)), plain);
    EXPECT_EQ(JsonEncoder::ToEscapedString("\"\x0B"_w), "\\\"\\u000;"_w);
    EXPECT_EQ(JsonEncoder::ToEscapedString(static_cast<const WChar*>(nullptr)), ""_w);
    EXPECT_EQ(JsonEncoder::ToEscapedUtf8String("\u00e9/"_w), "\xC3\xA9\\/");
    EXPECT_EQ(JsonEncoder::ToEscapedUtf8String("\xC3\xA9\n"), "\xC3\xA9\\n");
}

TEST(JsonEncoder, UndoesEscapesAsTheRuntimeReadsThem)
{
    const struct
    {
        WString text;
        WString expected;
    } cases[] = {
        {""_w, ""_w},
        {R"(a\/b\\\"\r\n\f\t\b)"_w, "a/b\\\"\r\n\f\t\b"_w},
        {R"(a\q)"_w, "a"_w},
        {R"(a\)"_w, "a"_w},
        {R"(\\\)"_w, "\\"_w},
        {R"(x\u12G4y)"_w, "x\x12y"_w},
        {R"(\u-001z)"_w, "\uFFFFz"_w},
        {R"(\u+041)"_w, "A"_w},
        {R"(\u  41)"_w, "A"_w},
        {R"(\u0x41)"_w, "A"_w},
        {R"(\u0X4g)"_w, "\x04"_w},
        {R"(\u-0xF)"_w, "\uFFF1"_w},
        {R"(\u 0xZ)"_w, "\0"_w},
        {R"(\uD83D\ude00)"_w, "\U0001F600"_w},
        {R"(\u000;)"_w, "\0"_w},
        {R"(\u123)"_w, "123"_w},
        {R"(\u)"_w, ""_w},
        {R"(\u\"\"x)"_w, "invalid stoul argument"_w},
        {R"(\ug000)"_w, "invalid stoul argument"_w},
        {R"(\u    )"_w, "invalid stoul argument"_w},
        {R"(\u-+12)"_w, "invalid stoul argument"_w},
        {"\\u\0"
         "123"_w,
         "invalid stoul argument"_w},
        {"\\u\u0661\u0661\u0661\u0661"_w, "invalid stoul argument"_w},
        {"\\\0a\0b"_w, "a\0b"_w},
    };
    for (const auto& [text, expected] : cases)
    {
        EXPECT_EQ(Undo(text), expected) << testing::PrintToString(text);
    }
    EXPECT_EQ(JsonEncoder::FromEscapedString("plain"_w), "plain"_w);
}

TEST(JsonEncoder, WritesIntoABufferAndNeverOutsideOfIt)
{
    WString buffer(9, '.');
    std::size_t position = 1;
    EXPECT_TRUE(JsonEncoder::AppendEscapedCharacter('/', buffer, position));
    EXPECT_FALSE(JsonEncoder::AppendEscapedCharacter('x', buffer, position));
    JsonEncoder::EncodeNonPrintCharacter(buffer, position, 0x12);
    EXPECT_EQ(buffer, ".\\/\\u0012"_w);
    EXPECT_EQ(position, 9u);
    for (const std::size_t outside : {std::size_t{8}, std::size_t{9}, std::size_t{10}, WString::npos})
    {
        position = outside;
        EXPECT_THROW(JsonEncoder::AppendEscapedCharacter('/', buffer, position), std::out_of_range);
        EXPECT_THROW(JsonEncoder::EncodeNonPrintCharacter(buffer, position, 1), std::out_of_range);
        EXPECT_EQ(position, outside);
    }
    EXPECT_EQ(buffer, ".\\/\\u0012"_w);
    EXPECT_NO_THROW(JsonEncoder::VerifyOutputLength(3, 3));
    EXPECT_THROW(JsonEncoder::VerifyOutputLength(3, 4), std::logic_error);
}
