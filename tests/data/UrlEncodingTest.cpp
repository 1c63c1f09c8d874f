#include "Quoll/TextCodecs.h"
#include "support/MessageOf.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Quoll;
using Utilities::UrlPart;

namespace
{

struct Open : Utilities::UrlEncoding
{
    using UrlEncoding::EncodeToBuffer;
    using UrlEncoding::Rfc1738HasGraphic;
    using UrlEncoding::Rfc1738IsReserved;
    using UrlEncoding::Rfc1738IsUnsafe;
};

} // namespace

TEST(UrlEncoding, EscapesWhatIsReservedInThePart)
{
    const WString text = "a/b;c?d&e=f:@+,$!"_w;
    const WString none = text;
    const WString three = "a%2Fb%3Bc%3Fd&e=f:@+,$!"_w;
    const WString four = "a%2Fb%3Bc%3Fd%26e=f:@+,$!"_w;
    const WString five = "a%2Fb%3Bc%3Fd%26e%3Df:@+,$!"_w;
    const WString expected[] = {none, none, none, three, three, four, five, five};
    for (std::uint32_t part = 0; part < 8; ++part)
    {
        EXPECT_EQ(Open::Encode(text, static_cast<UrlPart>(part)), expected[part]) << part;
    }
}

TEST(UrlEncoding, EscapesWhatIsUnsafeOrNotGraphicInEveryPart)
{
    WString text = " <>\"#%{}|\\^~[]`"_w;
    text += WString{0, 31, 126, 127, 128, 0x7FF, 0x800, 0xFFFF} + "\U0001F600"_w;
    const WString expected = "%20%3C%3E%22%23%25%7B%7D%7C%5C%5E%7E%5B%5D%60"
                             "%00%1F%7E%7F%C2%80%DF%BF%E0%A0%80%EF%BF%BF%ED%A0%BD%ED%B8%80"_w;
    for (std::uint32_t part = 0; part < 8; ++part)
    {
        EXPECT_EQ(Open::Encode(text, static_cast<UrlPart>(part)), expected) << part;
    }
}

TEST(UrlEncoding, LeavesAllOtherUnits)
{
    for (WChar unit = 33; unit < 126; ++unit)
    {
        const bool stays = !Open::Rfc1738IsUnsafe(unit) && !Open::Rfc1738IsReserved(unit, UrlPart::FieldValue);
        EXPECT_EQ(Open::Encode(WString(1, unit), UrlPart::FieldValue).size(), stays ? 1U : 3U) << unsigned{unit};
    }
    EXPECT_TRUE(Open::Rfc1738HasGraphic(32) && Open::Rfc1738HasGraphic(126));
    EXPECT_FALSE(Open::Rfc1738HasGraphic(31) || Open::Rfc1738HasGraphic(127));
    WString kept = "x"_w;
    Open::EncodeToBuffer('a', kept);
    EXPECT_EQ(kept, "x%61"_w);
}

TEST(UrlEncoding, RefusesUnknownPartsOfTextThatIsNotEmpty)
{
    EXPECT_EQ(Open::Encode({}, static_cast<UrlPart>(8)), ""_w);
    EXPECT_EQ(Tests::MessageOf<std::out_of_range>([] { Open::Encode("a"_w, static_cast<UrlPart>(8)); }),
              "invalid map<K, T> key");
}
