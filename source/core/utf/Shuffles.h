// Byte orders that the vector kernels pick by a bit mask, made at compile time.
#pragma once

#include <array>
#include <cstdint>

namespace Quoll::Utf
{

constexpr std::uint8_t NoByte = 0x80; // a shuffle puts zero there

using Shuffle = std::array<std::uint8_t, 16>;

// How the sequences that end within eight bytes become 16-bit lanes, for each mask of ends (bit i: a
// sequence ends at byte i).
struct DecodeShuffle
{
    alignas(16) Shuffle tails; // last byte of a sequence and the one before, if it has one
    alignas(16) Shuffle leads; // the byte before these, if it has more
};

constexpr std::array<DecodeShuffle, 256> MakeDecodeShuffles() noexcept
{
    std::array<DecodeShuffle, 256> table{};
    for (unsigned ends = 0; ends < 256; ++ends)
    {
        table[ends].tails.fill(NoByte);
        table[ends].leads.fill(NoByte);
        unsigned begin = 0;
        unsigned lane = 0;
        for (unsigned at = 0; at < 8; ++at)
        {
            if ((ends >> at & 1) == 0)
            {
                continue;
            }
            const unsigned length = at + 1 - begin;
            table[ends].tails[lane] = static_cast<std::uint8_t>(at);
            table[ends].tails[lane + 1] = length > 1 ? static_cast<std::uint8_t>(at - 1) : NoByte;
            table[ends].leads[lane] = length > 2 ? static_cast<std::uint8_t>(at - 2) : NoByte;
            lane += 2;
            begin = at + 1;
        }
    }
    return table;
}

// Drops the bytes that a unit doesn't need; `length` bytes stay.
struct EncodeShuffle
{
    alignas(16) Shuffle bytes{};
    std::uint8_t length = 0;
};

// Eight lanes of two bytes each; bit i of the mask: lane i holds one byte, its first.
constexpr std::array<EncodeShuffle, 256> MakeShortEncodeShuffles() noexcept
{
    std::array<EncodeShuffle, 256> table{};
    for (unsigned single = 0; single < 256; ++single)
    {
        EncodeShuffle entry;
        entry.bytes.fill(NoByte);
        for (unsigned lane = 0; lane < 8; ++lane)
        {
            entry.bytes[entry.length++] = static_cast<std::uint8_t>(2 * lane);
            if ((single >> lane & 1) == 0)
            {
                entry.bytes[entry.length++] = static_cast<std::uint8_t>(2 * lane + 1);
            }
        }
        table[single] = entry;
    }
    return table;
}

// Four lanes of four bytes, of which the third is the last of its sequence; bits i and i + 4 of the
// mask: the sequence of lane i has more than one byte, more than two.
constexpr std::array<EncodeShuffle, 256> MakeLongEncodeShuffles() noexcept
{
    std::array<EncodeShuffle, 256> table{};
    for (unsigned mask = 0; mask < 256; ++mask)
    {
        EncodeShuffle entry;
        entry.bytes.fill(NoByte);
        for (unsigned lane = 0; lane < 4; ++lane)
        {
            const unsigned more = (mask >> lane & 1) + (mask >> (lane + 4) & 1);
            for (unsigned byte = 2 - more; byte < 3; ++byte)
            {
                entry.bytes[entry.length++] = static_cast<std::uint8_t>(4 * lane + byte);
            }
        }
        table[mask] = entry;
    }
    return table;
}

} // namespace Quoll::Utf
