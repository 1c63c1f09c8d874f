// Blocks of the one-bit mode side by side, from what is known of them beforehand to their first bits.
//
// The last seven bits that a block is made of stand in one byte of its fourth word, also when that is rotated in the
// first round. So a block can be opened seven bits before its turn: all of the first round, and of the second all but
// one look-up.
#pragma once

#include "cryptography/twofish/Round.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Quoll::Twofish
{

// The first bit of a block is known behind it: the round after it only changes the other half.
constexpr unsigned LastRound = 14;

// What is known of blocks before the last bits of their windows are, in a ring.
struct Openings
{
    static constexpr std::size_t Size = 32;

    alignas(64) std::array<std::uint32_t, Size> a;
    std::array<std::uint32_t, Size> b;
    std::array<std::uint32_t, Size> c;
    std::array<std::uint32_t, Size> d;
    std::array<std::uint32_t, Size> left;  // of the second round's two sums
    std::array<std::uint32_t, Size> right; // the same, but for one look-up
};

// The second round's right sum without the look-up that waits for the last bits.
[[gnu::always_inline]] inline std::uint32_t RightSum(const Schedule& schedule, std::uint32_t b) noexcept
{
    return schedule.tables[1][b & 0xFF] ^ schedule.tables[2][b >> 8 & 0xFF] ^ schedule.tables[3][b >> 16 & 0xFF];
}

// The blocks' first bits. `last` holds each one's last bits, seven at the most.
template<std::size_t Count>
[[gnu::always_inline]] inline std::array<unsigned, Count> Close(const Schedule& schedule, const Openings& openings,
                                                                const std::array<std::size_t, Count>& places,
                                                                const std::array<unsigned, Count>& last) noexcept
{
    std::array<Block, Count> blocks;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Count; ++i)
    {
        const std::size_t at = places[i];
        const std::uint32_t b = openings.b[at] ^ last[i] << 25;
        const std::uint32_t right = openings.right[at] ^ schedule.tables[0][b >> 24];
        blocks[i] = {openings.c[at], openings.d[at], openings.a[at], b};
        Join(schedule, 1, openings.left[at], right, blocks[i][0], blocks[i][1]);
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

} // namespace Quoll::Twofish
