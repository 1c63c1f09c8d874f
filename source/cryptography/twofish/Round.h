// One round of Twofish by table look-ups, to be compiled into loops over blocks.
#pragma once

#include "cryptography/twofish/Schedule.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace Quoll::Twofish
{

inline std::uint32_t LoadWord(const std::uint8_t* bytes) noexcept
{
    static_assert(std::endian::native == std::endian::little);
    std::uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

// The function g of the paper.
[[gnu::always_inline]] inline std::uint32_t Substituted(const Schedule& schedule, std::uint32_t word) noexcept
{
    return schedule.tables[0][word & 0xFF] ^ schedule.tables[1][word >> 8 & 0xFF] ^
           schedule.tables[2][word >> 16 & 0xFF] ^ schedule.tables[3][word >> 24];
}

// The same for the word rotated left by 8.
[[gnu::always_inline]] inline std::uint32_t SubstitutedRotated(const Schedule& schedule, std::uint32_t word) noexcept
{
    return schedule.tables[0][word >> 24] ^ schedule.tables[1][word & 0xFF] ^ schedule.tables[2][word >> 8 & 0xFF] ^
           schedule.tables[3][word >> 16 & 0xFF];
}

// a and b stay, c and d become the next round's a and b.
[[gnu::always_inline]] inline void Round(const Schedule& schedule, unsigned round, const std::uint32_t& a,
                                         const std::uint32_t& b, std::uint32_t& c, std::uint32_t& d) noexcept
{
    const std::uint32_t left = Substituted(schedule, a);
    const std::uint32_t right = SubstitutedRotated(schedule, b);
    const std::uint32_t sum = left + right;
    c = std::rotr(c ^ (sum + schedule.subkeys[8 + 2 * round]), 1);
    d = std::rotl(d, 1) ^ (sum + right + schedule.subkeys[9 + 2 * round]);
}

} // namespace Quoll::Twofish
