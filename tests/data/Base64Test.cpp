#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"
#include "Quoll/TextCodecs.h"
#include "data/base64/Kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <stdexcept>

using namespace Quoll;
using Utilities::Base64;
using Utilities::StringUtilities;

namespace
{

using Bytes = std::vector<unsigned char>;

// The decoder's table, said once more: a text without its white space is groups of four.
std::optional<Bytes> Expected(std::string text)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::erase_if(text, [](char unit) { return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n'; });
    const auto paddings = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
    if (text.size() % 4 != 0 || paddings > 2 || text.find('=') < text.size() - paddings)
    {
        return std::nullopt;
    }
    Bytes bytes;
    unsigned bits = 0;
    for (std::size_t i = 0; i < text.size() - paddings; ++i)
    {
        const std::size_t value = alphabet.find(text[i]);
        if (value == std::string::npos)
        {
            return std::nullopt;
        }
        bits = bits << 6 | static_cast<unsigned>(value);
        if (i % 4 != 0)
        {
            bytes.push_back(static_cast<unsigned char>(bits >> (6 - i % 4 * 2)));
        }
    }
    return bytes;
}

// With buffers of exactly the size, so that a sanitizer sees a read or write beyond it.
template<class Unit>
std::optional<Bytes> DecodeWith(Base64Coder::Outcome (*decode)(Base64Coder::DecodeCursor<Unit>&) noexcept,
                                const std::string& text)
{
    const std::vector<Unit> exact(text.begin(), text.end());
    Bytes bytes(Base64Coder::DecodedLimit(exact.size()));
    Base64Coder::DecodeCursor<Unit> cursor{exact.data(), exact.data() + exact.size(), bytes.data(),
                                           bytes.data() + bytes.size()};
    if (decode(cursor) != Base64Coder::Outcome::Complete)
    {
        return std::nullopt;
    }
    bytes.resize(static_cast<std::size_t>(cursor.out - bytes.data()));
    return bytes;
}

void ExpectAllDecode(const std::string& text)
{
    const std::optional<Bytes> expected = Expected(text);
    for (const Base64Coder::Kernel& kernel : Base64Coder::Kernels())
    {
        ASSERT_EQ(DecodeWith(kernel.decodeBytes, text), expected) << kernel.name << text;
        ASSERT_EQ(DecodeWith(kernel.decodeWide, text), expected) << kernel.name << text;
    }
}

template<class Unit>
std::string EncodeWith(void (*encode)(Base64Coder::EncodeCursor<Unit>&) noexcept, const Bytes& bytes)
{
    std::vector<Unit> units(Base64Coder::EncodedSize(bytes.size()));
    Base64Coder::EncodeCursor<Unit> cursor{bytes.data(), bytes.data() + bytes.size(), units.data()};
    encode(cursor);
    EXPECT_EQ(cursor.out, units.data() + units.size());
    std::string text;
    std::transform(units.begin(), units.end(), std::back_inserter(text), [](Unit unit) { return char(unit); });
    return text;
}

template<class Work>
std::string FailureOf(Work work)
{
    try
    {
        work();
        return "none";
    }
    catch (const Utilities::ConversionException&)
    {
        return "conversion";
    }
    catch (const std::runtime_error& failure)
    {
        return failure.what();
    }
}

} // namespace

TEST(Base64, AllKernelsEncodeAllLengths)
{
    std::mt19937 engine(1);
    for (std::size_t size = 0; size < 200; ++size)
    {
        Bytes bytes(size);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(engine()); });
        const std::string text = EncodeWith(Base64Coder::Kernels().front().encodeBytes, bytes);
        EXPECT_EQ(Expected(text), bytes);
        for (const Base64Coder::Kernel& kernel : Base64Coder::Kernels())
        {
            EXPECT_EQ(EncodeWith(kernel.encodeBytes, bytes), text) << kernel.name;
            EXPECT_EQ(EncodeWith(kernel.encodeWide, bytes), text) << kernel.name;
        }
    }
}

// Every byte at every place of a long text, as it is and in a text with breaks of line.
TEST(Base64, AllKernelsDecodeByOneTable)
{
    std::string text;
    for (int i = 0; i < 34; ++i)
    {
        text += "q8Z/"; // its neighbours differ, so that no group is mistaken for another
    }
    for (std::size_t at = 0; at <= text.size(); ++at)
    {
        for (int byte = 0; byte < 256; ++byte)
        {
            std::string changed = text;
            changed.insert(at, 1, static_cast<char>(byte));
            changed.erase(byte % 2 == 0 ? changed.size() : (at + 1) % text.size(), 1);
            ASSERT_NO_FATAL_FAILURE(ExpectAllDecode(changed));
        }
    }
}

TEST(Base64, AllKernelsTakeWhiteSpaceAndPaddingAnywhereAlike)
{
    std::mt19937 engine(2);
    for (int round = 0; round < 3000; ++round)
    {
        std::string text;
        for (std::size_t left = engine() % 60; left > 0; --left)
        {
            text += std::string("ABCDabcd0123+/").substr(engine() % 11, 4);
            text += engine() % 8 == 0 ? std::string(engine() % 3, " \t\r\n"[engine() % 4]) : "";
        }
        text += std::string(engine() % 4, "\nA5/"[engine() % 4]) + (engine() % 2 == 0 ? " " : "");
        text += std::string(engine() % 4, '=') + (engine() % 2 == 0 ? "\r\n" : "") + (engine() % 8 == 0 ? "=" : "");
        ASSERT_NO_FATAL_FAILURE(ExpectAllDecode(text));
    }
}

TEST(Base64, RefusesWideUnitsThatOnlyEndLikeTheAlphabet)
{
    for (const Base64Coder::Kernel& kernel : Base64Coder::Kernels())
    {
        for (unsigned high = 1; high < 256; ++high)
        {
            WString text(64, 'A');
            text[high % 64] = static_cast<WChar>(high << 8 | 'A');
            Bytes bytes(48);
            Base64Coder::DecodeCursor<WChar> cursor{text.data(), text.data() + 64, bytes.data(), bytes.data() + 48};
            EXPECT_EQ(kernel.decodeWide(cursor), Base64Coder::Outcome::Refused) << kernel.name << high;
        }
    }
}

TEST(Base64, WideTextTravelsAsUtf8)
{
    EXPECT_EQ(Base64::Encode(""_w), ""_w);
    EXPECT_EQ(Base64::Encode("é"_w), "w6k="_w);
    EXPECT_EQ(Base64::Decode("w6k="_w), "é"_w);
    EXPECT_EQ(Base64::Encode(WString{'a', 0, 0xD800}), "YQ=="_w); // ends at its NUL
    EXPECT_EQ(Base64::Encode(WString{0, 'a'}), ""_w);
    EXPECT_EQ(Base64::Decode("YQBi"_w), "a"_w);
    EXPECT_EQ(Base64::Decode("YQ==\0*"_w), "a"_w);
    const WString piece = "plain, Ключ, 中文, 😀; "_w;
    WString text;
    for (int i = 0; i < 3000; ++i)
    {
        text += piece.substr(static_cast<std::size_t>(i) % 9 * 2) + "."_w;
    }
    const std::string utf8 = StringUtilities::Utf16ToUtf8(text);
    const WString encoded = Base64::Encode(text);
    EXPECT_EQ(Expected(StringUtilities::Utf16ToUtf8(encoded)), Bytes(utf8.begin(), utf8.end()));
    EXPECT_TRUE(Base64::Decode(encoded) == text);
}

TEST(Base64, SaysWhatCannotBeConverted)
{
    const std::string refused = "Cannot decode base64 string";
    const WString filler(20000, 'A'); // NULs, in Base64
    const WString notUtf8 = "gICAgICA"_w;
    EXPECT_EQ(FailureOf([] { Base64::Encode(WString(9000, 'a') + WString(1, WChar{0xDC00})); }), "conversion");
    EXPECT_EQ(FailureOf([&] { Base64::Decode(notUtf8); }), "conversion");
    EXPECT_EQ(FailureOf([&] { Base64::Decode(notUtf8 + WString(20000, 'B') + "*"_w); }), refused);
    EXPECT_EQ(FailureOf([&] { Base64::Decode("4oI="_w); }), "conversion");   // a sequence that isn't whole
    EXPECT_EQ(FailureOf([&] { Base64::Decode(filler + notUtf8); }), "none"); // ends at its NUL
    Bytes bytes{1, 2};
    EXPECT_EQ(FailureOf([&] { Base64::Decode(std::string("QUJD\0", 5), bytes); }), refused);
    EXPECT_TRUE(bytes.empty());
    bytes = {1, 2};
    EXPECT_EQ(FailureOf([&] { Base64::Decode(WString{'*', 0xD800}, bytes); }), "conversion");
    EXPECT_TRUE(bytes.empty());
    Base64::Decode("\t\r\n "_w, bytes);
    EXPECT_TRUE(bytes.empty());
    Base64::Decode(std::string("QUJD AP+=\n"), bytes);
    EXPECT_EQ(bytes, (Bytes{'A', 'B', 'C', 0, 0xFF}));
}
