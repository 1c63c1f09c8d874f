#include "core/utf/Utf16Bytes.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace
{

using namespace Quoll::Utf;
using Units = std::basic_string<Unit>;

constexpr ByteOrder Orders[] = {ByteOrder::Little, ByteOrder::Big};

std::string BytesOf(UnitView wide, ByteOrder order)
{
    std::string bytes;
    for (const Unit unit : wide)
    {
        const char halves[] = {static_cast<char>(unit), static_cast<char>(unit >> 8)};
        bytes += halves[order == ByteOrder::Big];
        bytes += halves[order == ByteOrder::Little];
    }
    return bytes;
}

// One sequence at a time.
Progress Walk(UnitView wide, std::size_t capacity)
{
    std::size_t at = 0;
    while (at < wide.size())
    {
        const bool isFirst = wide[at] >= 0xD800 && wide[at] < 0xDC00;
        const bool isSecond = wide[at] >= 0xDC00 && wide[at] < 0xE000;
        const std::size_t length = isFirst ? 2 : 1;
        if (at + 1 > capacity)
        {
            return {at, at, Outcome::NoRoom};
        }
        if (isSecond || (isFirst && at + 1 == wide.size()))
        {
            return {at, at, Outcome::IllFormed};
        }
        if (at + length > capacity)
        {
            return {at, at, Outcome::NoRoom};
        }
        if (isFirst && (wide[at + 1] & 0xFC00) != 0xDC00)
        {
            return {at, at, Outcome::IllFormed};
        }
        at += length;
    }
    return {at, at, Outcome::Complete};
}

void ExpectConversions(const Units& wide, std::size_t capacity)
{
    const Progress expected = Walk(wide, capacity);
    for (const ByteOrder order : Orders)
    {
        const std::string bytes = BytesOf(wide, order);
        Units decoded(capacity, 0);
        const Progress from = DecodeUtf16(bytes, order, decoded.data(), capacity);
        EXPECT_EQ(from.read, 2 * expected.read);
        EXPECT_EQ(from.written, expected.written);
        EXPECT_EQ(from.outcome, expected.outcome) << wide.size() << ' ' << capacity;
        EXPECT_EQ(decoded.substr(0, from.written), wide.substr(0, expected.read));

        std::string encoded(2 * capacity + 1, 0); // an odd byte is no room
        const Progress to = EncodeUtf16(wide, order, encoded.data(), encoded.size());
        EXPECT_EQ(to.read, expected.read);
        EXPECT_EQ(to.written, 2 * expected.written);
        EXPECT_EQ(to.outcome, expected.outcome);
        EXPECT_EQ(encoded.substr(0, to.written), bytes.substr(0, 2 * expected.read));
    }
}

TEST(Utf16Bytes, StopWhereASlowWalkStops)
{
    std::mt19937 random(7);
    for (std::size_t size = 0; size < 300; ++size)
    {
        Units wide(size, 0xD7FF);
        for (std::size_t i = 1; i < size; ++i)
        {
            const bool isPair = random() % 3 == 0 && wide[i - 1] == 0xD7FF;
            wide[i] = isPair ? static_cast<Unit>(0xDC00 + random() % 1024) : wide[i];
            wide[i - 1] = isPair ? static_cast<Unit>(0xD800 + random() % 1024) : wide[i - 1];
        }
        ExpectConversions(wide, size);
        ExpectConversions(wide, size - std::min<std::size_t>(size, random() % 70));
        if (size != 0)
        {
            constexpr Unit units[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xD7FF};
            wide[random() % size] = units[random() % std::size(units)];
            ExpectConversions(wide, size);
            ExpectConversions(wide, size - random() % size);
        }
    }
}

TEST(Utf16Bytes, AnOddByteIsIllFormed)
{
    Unit wide[2] = {};
    const Progress progress = DecodeUtf16(std::string_view("a\0b", 3), ByteOrder::Little, wide, 2);
    EXPECT_EQ(progress.read, 2u);
    EXPECT_EQ(wide[0], 'a');
    EXPECT_EQ(progress.outcome, Outcome::IllFormed);
    EXPECT_EQ(DecodeUtf16("", ByteOrder::Big, wide, 2).outcome, Outcome::Complete);
}

} // namespace
