// Blocks of the one-bit mode side by side, from what is known of them beforehand to their first bits.
//
// Of all that a byte's eight blocks are made of, only the bits of that byte itself are unknown beforehand, and they
// stand in one byte of the fourth word. So the first round can be done for all eight at once, and of the second all
// but one look-up.
#pragma once

#include "cryptography/twofish/Round.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Quoll::Twofish
{

// The first bit of a block is known behind it: the round after it only changes the other half.
constexpr unsigned LastRound = 14;

// What is known of a block before the last bits of its window are.
struct Opening
{
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t c;
    std::uint32_t d;
    std::uint32_t left;  // of the second round's two sums
    std::uint32_t right; // the same, but for one look-up
};

using Openings = std::array<Opening, 8>; // of the blocks of one byte

// The second round's right sum without the look-up that waits for the last bits.
[[gnu::always_inline]] inline std::uint32_t RightSum(const Schedule& schedule, std::uint32_t b) noexcept
{
    return schedule.tables[1][b & 0xFF] ^ schedule.tables[2][b >> 8 & 0xFF] ^ schedule.tables[3][b >> 16 & 0xFF];
}

// The blocks' first bits. `last` holds each one's last bits, seven at the most.
template<std::size_t Count>
[[gnu::always_inline]] inline std::array<unsigned, Count> Close(const Schedule& schedule,
                                                                const std::array<const Opening*, Count>& openings,
                                                                const std::array<unsigned, Count>& last) noexcept
{
    std::array<Block, Count> blocks;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Count; ++i)
    {
        const Opening& opening = *openings[i];
        const std::uint32_t b = opening.b ^ last[i] << 25;
        blocks[i] = {opening.c, opening.d, opening.a, b};
        Join(schedule, 1, opening.left, opening.right ^ schedule.tables[0][b >> 24], blocks[i][0], blocks[i][1]);
    }
    for (unsigned round = 2; round < LastRound; round += 2)
    {
#pragma GCC unroll 8
        for (Block& block : blocks)
        {
            Round(schedule, round, block[0], block[1], block[2], block[3]);
        }
#pragma GCC unroll 8
        for (Block& block : blocks)
        {
            Round(schedule, round + 1, block[2], block[3], block[0], block[1]);
        }
    }
    std::array<unsigned, Count> bits;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Count; ++i)
    {
        const Block& block = blocks[i];
        const std::uint32_t sum = Substituted(schedule, block[0]) + SubstitutedRotated(schedule, block[1]);
        // Bit 8 becomes bit 7 by the round's rotation.
        const std::uint32_t word = block[2] ^ (sum + schedule.subkeys[8 + 2 * LastRound]);
        bits[i] = (word >> 8 ^ schedule.subkeys[4] >> 7) & 1;
    }
    return bits;
}

// Encrypts one byte. The block of the next bit is made beside the current one, for both values that the bit between
// them may have: that gives two bits in little more than the time of one block.
[[gnu::always_inline]] inline std::uint8_t EncryptByte(const Schedule& schedule, const Openings& openings,
                                                       std::uint8_t byte) noexcept
{
    unsigned out = 0;
    for (unsigned bit = 0; bit < 8; bit += 2)
    {
        const Opening& next = openings[bit + 1];
        const std::array<unsigned, 3> keys =
            Close<3>(schedule, {&openings[bit], &next, &next}, {out, 2 * out, 2 * out + 1});
        const unsigned first = (byte >> (7 - bit) & 1u) ^ keys[0];
        // No branch: it would be mistaken every other time.
        const unsigned second = (byte >> (6 - bit) & 1u) ^ ((keys[1] & ~first) | (keys[2] & first));
        out = 4 * out + 2 * first + second;
    }
    return static_cast<std::uint8_t>(out);
}

} // namespace Quoll::Twofish
