#include "core/utf/Transcoder.h"

#include "core/utf/Kernels.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

using namespace Quoll::Utf;

namespace
{

using Wide = std::basic_string<Unit>;

struct Decoded
{
    std::size_t read;
    Outcome outcome;
    Wide wide;
    bool operator==(const Decoded&) const = default;
};

// With a buffer of exactly the capacity, so that a sanitizer sees a write or read beyond it.
Decoded DecodeWith(const Kernel& kernel, const std::string& text, std::size_t capacity)
{
    const std::vector<unsigned char> exact(text.begin(), text.end());
    std::vector<Unit> wide(capacity);
    DecodeCursor cursor{exact.data(), exact.data() + exact.size(), wide.data(), wide.data() + capacity};
    const Outcome outcome = kernel.decode(cursor);
    const auto written = static_cast<std::size_t>(cursor.out - wide.data());
    return {static_cast<std::size_t>(cursor.in - exact.data()), outcome, Wide(wide.data(), written)};
}

struct Encoded
{
    std::size_t read;
    Outcome outcome;
    std::string text;
    bool operator==(const Encoded&) const = default;
};

Encoded EncodeWith(const Kernel& kernel, const Wide& wide, std::size_t capacity)
{
    const std::vector<Unit> exact(wide.begin(), wide.end());
    std::vector<char> text(capacity);
    EncodeCursor cursor{exact.data(), exact.data() + exact.size(), text.data(), text.data() + capacity};
    const Outcome outcome = kernel.encode(cursor);
    const auto written = static_cast<std::size_t>(cursor.out - text.data());
    return {static_cast<std::size_t>(cursor.in - exact.data()), outcome, std::string(text.data(), written)};
}

std::string Utf8Of(char32_t point)
{
    std::string text;
    if (point < 0x80)
    {
        return {static_cast<char>(point)};
    }
    const int extra = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    text.push_back(static_cast<char>((0xFF00 >> (extra + 1)) | (point >> (6 * extra))));
    for (int i = extra - 1; i >= 0; --i)
    {
        text.push_back(static_cast<char>(0x80 | ((point >> (6 * i)) & 0x3F)));
    }
    return text;
}

// Text that stays in one length of sequence for a while, with some noise: what the kernels are
// made for, and what leads them astray.
std::string RandomText(std::mt19937& engine)
{
    const auto random = [&engine] {
        return static_cast<std::uint32_t>(engine());
    };
    constexpr char32_t first[] = {0x20, 0x400, 0x4E00, 0x1F600, 0xD700, 0xE000};
    std::string text;
    for (unsigned runs = random() % 6; runs > 0; --runs)
    {
        const char32_t base = first[random() % std::size(first)];
        for (unsigned length = random() % 40; length > 0; --length)
        {
            text += random() % 16 == 0 ? " " : Utf8Of(base + random() % 0x50);
        }
        if (random() % 8 == 0)
        {
            text.push_back(static_cast<char>(random()));
        }
    }
    return text;
}

} // namespace

TEST(Transcoder, ConvertsEveryCodePointBothWays)
{
    for (const Kernel& kernel : Kernels())
    {
        std::string text;
        Wide wide;
        for (char32_t point = 0; point < 0x110000; point = point == 0xD7FF ? 0xE000 : point + 1)
        {
            text += Utf8Of(point);
            if (point >= 0x10000)
            {
                wide.push_back(static_cast<Unit>(0xD7C0 + (point >> 10)));
                wide.push_back(static_cast<Unit>(0xDC00 + (point & 0x3FF)));
            }
            else
            {
                wide.push_back(static_cast<Unit>(point));
            }
        }
        EXPECT_TRUE(DecodeWith(kernel, text, wide.size()) == (Decoded{text.size(), Outcome::Complete, wide}))
            << kernel.name;
        EXPECT_TRUE(EncodeWith(kernel, wide, text.size()) == (Encoded{wide.size(), Outcome::Complete, text}))
            << kernel.name;
        EXPECT_EQ(kernel.estimateDecode(reinterpret_cast<const unsigned char*>(text.data()), text.size()), wide.size());
        EXPECT_EQ(kernel.estimateEncode(wide.data(), wide.size()), text.size());
    }
}

// Every sequence of up to three bytes and the interesting ones of four, at several places of a block.
TEST(Transcoder, AllKernelsRefuseTheSameSequences)
{
    const std::string bytes("\x00\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3"
                            "\xF4\xF5\xF8\xFF",
                            26);
    std::vector<std::string> sequences;
    for (const char a : bytes)
    {
        for (const char b : bytes)
        {
            for (const char c : {'\x41', '\x80', '\xBF', '\xC2'})
            {
                for (const char d : {'\x41', '\x80', '\xBF', '\xE1'})
                {
                    sequences.push_back({a, b, c, d});
                }
            }
        }
    }
    const std::string fillers[] = {"a", "\xD0\xB6", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80"};
    for (const std::string& sequence : sequences)
    {
        for (const std::string& filler : fillers)
        {
            std::string text;
            for (int i = 0; i < 16; ++i)
            {
                text += filler;
            }
            text.insert((static_cast<unsigned char>(sequence[0]) & 7u) * filler.size(), sequence);
            const Decoded expected = DecodeWith(PlainKernel, text, 80);
            for (const Kernel& kernel : Kernels())
            {
                ASSERT_TRUE(DecodeWith(kernel, text, 80) == expected) << kernel.name << testing::PrintToString(text);
            }
        }
    }
}

TEST(Transcoder, AllKernelsAgreeOnRandomTextAndTightBuffers)
{
    std::mt19937 random(20240607);
    for (int round = 0; round < 4000; ++round)
    {
        const std::string text = RandomText(random);
        const std::size_t capacity = random() % 3 == 0 ? random() % (text.size() + 1) : text.size();
        const Decoded expected = DecodeWith(PlainKernel, text, capacity);
        Wide wide = expected.wide;
        if (!wide.empty() && random() % 4 == 0)
        {
            wide[random() % wide.size()] = static_cast<Unit>(0xD800 + random() % 0x800);
        }
        const std::size_t byteCapacity = random() % 3 == 0 ? random() % (3 * wide.size() + 1) : 3 * wide.size();
        const Encoded expectedBytes = EncodeWith(PlainKernel, wide, byteCapacity);
        for (const Kernel& kernel : Kernels())
        {
            ASSERT_TRUE(DecodeWith(kernel, text, capacity) == expected) << kernel.name << " round " << round;
            ASSERT_TRUE(EncodeWith(kernel, wide, byteCapacity) == expectedBytes) << kernel.name << " round " << round;
            ASSERT_EQ(kernel.estimateDecode(reinterpret_cast<const unsigned char*>(text.data()), text.size()),
                      PlainKernel.estimateDecode(reinterpret_cast<const unsigned char*>(text.data()), text.size()));
            ASSERT_EQ(kernel.estimateEncode(wide.data(), wide.size()),
                      PlainKernel.estimateEncode(wide.data(), wide.size()));
        }
    }
}

TEST(Transcoder, ReportsWhereTheFirstErrorStands)
{
    Unit wide[8];
    const Progress progress = Decode("ab\xE2\x82", wide, 8);
    EXPECT_EQ(progress.outcome, Outcome::IllFormed);
    EXPECT_EQ(progress.read, 2u);
    EXPECT_EQ(progress.written, 2u);
    char text[8];
    const Unit lone[] = {'a', 0xD83D, 'b'};
    EXPECT_EQ(Encode({lone, 3}, text, 8).outcome, Outcome::IllFormed);
    EXPECT_EQ(Encode({lone, 3}, text, 8).read, 1u);
    EXPECT_EQ(Encode({lone, 1}, text, 0).outcome, Outcome::NoRoom);
}

TEST(Transcoder, ReplacesEachMaximalSubpart)
{
    struct Case
    {
        std::string text;
        std::size_t replacements;
    };
    const Case cases[] = {
        {"\xFF", 1},         {"\x80\x80", 2},         {"\xC0\x80", 2},     {"\xE2\x82", 1},
        {"\xE0\x80\x80", 3}, {"\xED\xA0\x80", 3},     {"\xF0\x9F\x98", 1}, {"\xF0\x9F", 1},
        {"\xF0\x80\x80", 3}, {"\xF4\x90\x80\x80", 4}, {"\xF8\x88", 2},     {"\xE2\xE2\x82", 2},
    };
    for (const Case& test : cases)
    {
        Unit wide[8];
        const Progress progress = DecodeLenient(test.text + "z", wide, 8);
        EXPECT_EQ(progress.outcome, Outcome::Complete);
        EXPECT_EQ(Wide(wide, progress.written), Wide(test.replacements, Unit{0xFFFD}) + Unit{'z'});
        EXPECT_EQ(MeasureDecode(test.text + "z", true).written, progress.written);
    }
    const Unit lone[] = {0xDC00, 0xD800, 0xD83D, 0xDE00};
    char text[16];
    const Progress progress = EncodeLenient({lone, 4}, text, 16);
    EXPECT_EQ(std::string(text, progress.written), "\xEF\xBF\xBD\xEF\xBF\xBD\xF0\x9F\x98\x80");
    EXPECT_EQ(EncodeLenient({lone, 4}, text, 5).outcome, Outcome::NoRoom);
}
