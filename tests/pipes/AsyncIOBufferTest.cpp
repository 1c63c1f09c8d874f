#include "pipes/AsyncIOBuffer.h"

#include "Quoll/Errors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace Quoll::Tests
{

using namespace Utilities;
using enum NamedPipeMessageEncoding;

namespace
{

std::string Payload(AsyncIOBuffer& buffer)
{
    return {reinterpret_cast<const char*>(buffer.Data()), buffer.PayloadSize()};
}

WString ReadBack(NamedPipeMessageEncoding encoding, std::string_view bytes, std::size_t size = 16)
{
    AsyncIOBuffer buffer(encoding, size);
    std::copy_n(reinterpret_cast<const std::byte*>(bytes.data()), bytes.size(), buffer.Data());
    return buffer.AsWideString();
}

using namespace std::string_view_literals;

TEST(AsyncIOBuffer, WritesTheTextWithoutTerminator)
{
    AsyncIOBuffer utf8(Utf8, "aé😀"_w);
    EXPECT_EQ(Payload(utf8), "a\xC3\xA9\xF0\x9F\x98\x80");
    for (const auto encoding : {Utf16, static_cast<NamedPipeMessageEncoding>(7)})
    {
        AsyncIOBuffer utf16(encoding, "aé"_w);
        EXPECT_EQ(Payload(utf16), "a\0\xE9\0"sv);
    }
    AsyncIOBuffer empty(Utf8, ""_w);
    EXPECT_EQ(empty.PayloadSize(), 0u);
}

TEST(AsyncIOBuffer, RefusesTextThatUtf8CantHold)
{
    const WString lone(1, static_cast<WChar>(0xD800));
    EXPECT_THROW(AsyncIOBuffer(Utf8, lone), ConversionException);
    EXPECT_NO_THROW(AsyncIOBuffer(Utf16, lone));
}

TEST(AsyncIOBuffer, ReadsUpToTheFirstNul)
{
    EXPECT_EQ(ReadBack(Utf8, "ab\0cd"sv), "ab"_w);
    EXPECT_EQ(ReadBack(Utf16, "a\0b\0\0\0c\0"sv), "ab"_w);
    EXPECT_EQ(ReadBack(Utf8, "0123456789abcdef", 16), "0123456789abcdef"_w);
}

TEST(AsyncIOBuffer, ReadsWhatIsIllFormed)
{
    EXPECT_EQ(ReadBack(Utf8, "a\xC3"), "a\uFFFD"_w);
    EXPECT_EQ(ReadBack(Utf8, "\xA9z"), "\uFFFDz"_w);
    EXPECT_EQ(ReadBack(Utf16, "a\0\x3D\xD8"sv), WString("a"_w) + static_cast<WChar>(0xD83D));
    EXPECT_EQ(ReadBack(Utf16, "x"), "x"_w); // half a unit
}

TEST(AsyncIOBuffer, ClearForgetsWhatWasRead)
{
    AsyncIOBuffer buffer(Utf8, std::size_t{4});
    std::copy_n(reinterpret_cast<const std::byte*>("abcd"), 4, buffer.Data());
    buffer.Clear();
    EXPECT_EQ(buffer.AsWideString(), ""_w);
    EXPECT_EQ(buffer.PayloadSize(), 4u);
    EXPECT_EQ(AsyncIOBuffer(Utf16, std::size_t{0}).PayloadSize(), 2u) << "one unit at least";
}

} // namespace

} // namespace Quoll::Tests
