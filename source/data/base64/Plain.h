// The plain coder, one group at a time: the oracle of the vector kernels and their helper where they meet
// what they don't handle.
#pragma once

#include "data/base64/Coder.h"

#include <algorithm>
#include <array>
#include <cstddef>
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
Unit UnitOf(std::uint32_t value) noexcept
{
    return static_cast<Unit>(Alphabet[value & 0x3F]);
}

template<class Unit>
void EncodePlain(EncodeCursor<Unit>& cursor) noexcept
{
    const unsigned char* in = cursor.in; // copies that no store can alias
    Unit* out = cursor.out;
    for (; cursor.inEnd - in >= 3; in += 3, out += 4)
    {
        const std::uint32_t group =
            static_cast<std::uint32_t>(in[0]) << 16 | static_cast<std::uint32_t>(in[1]) << 8 | in[2];
        out[0] = UnitOf<Unit>(group >> 18);
        out[1] = UnitOf<Unit>(group >> 12);
        out[2] = UnitOf<Unit>(group >> 6);
        out[3] = UnitOf<Unit>(group);
    }
    if (in != cursor.inEnd)
    {
        const bool two = cursor.inEnd - in == 2;
        const std::uint32_t group = static_cast<std::uint32_t>(in[0]) << 8 | (two ? in[1] : 0u);
        out[0] = UnitOf<Unit>(group >> 10);
        out[1] = UnitOf<Unit>(group >> 4);
        out[2] = two ? UnitOf<Unit>(group << 2) : static_cast<Unit>('=');
        out[3] = static_cast<Unit>('=');
        out += 4;
    }
    cursor.in = cursor.inEnd;
    cursor.out = out;
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

// Goes on where a vector kernel met what isn't of the alphabet, behind `groups` whole groups of a block.
// Most texts have long lines that break between groups. Where breaks are so dense that one block after the
// other holds next to nothing, blocks aren't worth the while.
template<class Unit>
class BreakDecoder
{
public:
    void BlockWasFull() noexcept
    {
        m_poorBlocks = 0;
    }

    [[gnu::always_inline]] inline Outcome Decode(DecodeCursor<Unit>& cursor, std::ptrdiff_t groups) noexcept
    {
        m_poorBlocks = groups > 1 ? 0 : std::min(m_poorBlocks + 1, 3);
        if (m_poorBlocks > 2)
        {
            return DecodePlain(cursor, cursor.in + std::min(PlainStretch, cursor.inEnd - cursor.in));
        }
        const Unit* const next = SkipSpace(cursor.in, cursor.inEnd);
        if (next == cursor.in)
        {
            return DecodePlain(cursor, next + 1);
        }
        cursor.in = next;
        return Outcome::Complete;
    }

private:
    static constexpr std::ptrdiff_t PlainStretch = 128;

    int m_poorBlocks = 0; // in a row
};

} // namespace Quoll::Base64Coder
