// The plain coder, one group at a time: the oracle of the vector kernels and their helper where they meet
// what they don't handle.
#pragma once

#include "data/base64/Coder.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace Quoll::Base64Coder
{

constexpr std::string_view Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
static_assert(Alphabet.size() == 64);

// What a unit means: its six bits, or one of these.
constexpr std::uint8_t Space = 64;
constexpr std::uint8_t Padding = 65;
constexpr std::uint8_t Foreign = 66;

constexpr std::array<std::uint8_t, 256> Meanings = [] {
    std::array<std::uint8_t, 256> meanings{};
    meanings.fill(Foreign);
    for (std::size_t value = 0; value < Alphabet.size(); ++value)
    {
        meanings[static_cast<unsigned char>(Alphabet[value])] = static_cast<std::uint8_t>(value);
    }
    meanings[' '] = meanings['\t'] = meanings['\r'] = meanings['\n'] = Space;
    meanings['='] = Padding;
    return meanings;
}();

template<class Unit>
unsigned MeaningOf(Unit unit) noexcept
{
    const auto value = static_cast<std::make_unsigned_t<Unit>>(unit);
    if constexpr (sizeof(Unit) > 1)
    {
        return value < Meanings.size() ? Meanings[value] : Foreign;
    }
    else
    {
        return Meanings[value];
    }
}

template<class Unit>
const Unit* SkipSpace(const Unit* units, const Unit* end) noexcept
{
    while (units != end && MeaningOf(*units) == Space)
    {
        ++units;
    }
    return units;
}

template<class Unit>
void EncodePlain(EncodeCursor<Unit>& cursor) noexcept
{
    const auto put = [&cursor](std::uint32_t group, int units) {
        for (int shift = 18; units > 0; --units, shift -= 6)
        {
            *cursor.out++ = static_cast<Unit>(Alphabet[(group >> shift) & 0x3F]);
        }
    };
    const unsigned char* in = cursor.in;
    for (; cursor.inEnd - in >= 3; in += 3)
    {
        put(static_cast<std::uint32_t>(in[0]) << 16 | static_cast<std::uint32_t>(in[1]) << 8 | in[2], 4);
    }
    if (cursor.inEnd - in == 2)
    {
        put(static_cast<std::uint32_t>(in[0]) << 16 | static_cast<std::uint32_t>(in[1]) << 8, 3);
        *cursor.out++ = static_cast<Unit>('=');
    }
    else if (cursor.inEnd - in == 1)
    {
        put(static_cast<std::uint32_t>(in[0]) << 16, 2);
        *cursor.out++ = static_cast<Unit>('=');
        *cursor.out++ = static_cast<Unit>('=');
    }
    cursor.in = cursor.inEnd;
}

// The end of a text from its first padding on, behind `count` values of the last group.
template<class Unit>
Outcome DecodeEnd(DecodeCursor<Unit>& cursor, const Unit* in, std::uint32_t group, int count) noexcept
{
    int paddings = 0;
    for (; in != cursor.inEnd; ++in)
    {
        const unsigned meaning = MeaningOf(*in);
        if (meaning != Space && meaning != Padding)
        {
            return Outcome::Refused;
        }
        paddings += meaning == Padding && paddings < 4 ? 1 : 0;
    }
    if (count < 2 || count + paddings != 4)
    {
        return Outcome::Refused;
    }
    group <<= 6 * paddings;
    *cursor.out++ = static_cast<unsigned char>(group >> 16);
    if (count == 3)
    {
        *cursor.out++ = static_cast<unsigned char>(group >> 8);
    }
    cursor.in = in;
    return Outcome::Complete;
}

// One group with white space or padding in it.
template<class Unit>
Outcome DecodeGroup(DecodeCursor<Unit>& cursor) noexcept
{
    std::uint32_t group = 0;
    int count = 0;
    for (const Unit* next = cursor.in; next != cursor.inEnd; ++next)
    {
        const unsigned meaning = MeaningOf(*next);
        if (meaning == Padding)
        {
            return DecodeEnd(cursor, next, group, count);
        }
        if (meaning == Foreign)
        {
            return Outcome::Refused;
        }
        if (meaning == Space)
        {
            continue;
        }
        group = group << 6 | meaning;
        if (++count == 4)
        {
            *cursor.out++ = static_cast<unsigned char>(group >> 16);
            *cursor.out++ = static_cast<unsigned char>(group >> 8);
            *cursor.out++ = static_cast<unsigned char>(group);
            cursor.in = next + 1;
            return Outcome::Complete;
        }
    }
    return Outcome::Refused;
}

// Decodes groups while the cursor is before `stop`, and skips the white space behind the last.
template<class Unit>
Outcome DecodePlain(DecodeCursor<Unit>& position, const Unit* stop) noexcept
{
    DecodeCursor<Unit> cursor = position; // a copy that no store can alias
    Outcome outcome = Outcome::Complete;
    while (outcome == Outcome::Complete)
    {
        cursor.in = SkipSpace(cursor.in, cursor.inEnd);
        if (cursor.in >= stop)
        {
            break;
        }
        if (cursor.outEnd - cursor.out < 3)
        {
            outcome = Outcome::NoRoom;
            break;
        }
        if (cursor.inEnd - cursor.in < 4)
        {
            outcome = DecodeGroup(cursor);
            continue;
        }
        const unsigned values[] = {MeaningOf(cursor.in[0]), MeaningOf(cursor.in[1]), MeaningOf(cursor.in[2]),
                                   MeaningOf(cursor.in[3])};
        if ((values[0] | values[1] | values[2] | values[3]) >= Alphabet.size())
        {
            outcome = DecodeGroup(cursor);
            continue;
        }
        const std::uint32_t group = values[0] << 18 | values[1] << 12 | values[2] << 6 | values[3];
        cursor.out[0] = static_cast<unsigned char>(group >> 16);
        cursor.out[1] = static_cast<unsigned char>(group >> 8);
        cursor.out[2] = static_cast<unsigned char>(group);
        cursor.in += 4;
        cursor.out += 3;
    }
    position = cursor;
    return outcome;
}

} // namespace Quoll::Base64Coder
