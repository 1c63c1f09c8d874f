// One round of Twofish by table look-ups, to be compiled into loops over blocks.
#pragma once

#include "cryptography/twofish/Schedule.h"

#include <bit>
#include <cstddef>
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

// Keeps the compiler from putting what is known early behind what is known late: rounds wait for each other.
[[gnu::always_inline]] inline void Settle(std::uint32_t& value) noexcept
{
    asm("" : "+r"(value));
}

// The function g of the paper. The third byte comes last, for it takes longest to find.
[[gnu::always_inline]] inline std::uint32_t Substituted(const Schedule& schedule, std::uint32_t word) noexcept
{
    const std::size_t index = word;
    std::uint32_t sum = schedule.tables[0][index & 0xFF];
    Settle(sum);
    sum ^= schedule.tables[1][index >> 8 & 0xFF];
    Settle(sum);
    sum ^= schedule.tables[3][index >> 24];
    Settle(sum);
    return sum ^ schedule.tables[2][index >> 16 & 0xFF];
}

// The same for the word rotated left by 8.
[[gnu::always_inline]] inline std::uint32_t SubstitutedRotated(const Schedule& schedule, std::uint32_t word) noexcept
{
    const std::size_t index = word;
    std::uint32_t sum = schedule.tables[1][index & 0xFF];
    Settle(sum);
    sum ^= schedule.tables[2][index >> 8 & 0xFF];
    Settle(sum);
    sum ^= schedule.tables[0][index >> 24];
    Settle(sum);
    return sum ^ schedule.tables[3][index >> 16 & 0xFF];
}

// The second half of a round, given its two values of g: c and d become the next round's a and b.
[[gnu::always_inline]] inline void Join(const Schedule& schedule, unsigned round, std::uint32_t left,
                                        std::uint32_t right, std::uint32_t& c, std::uint32_t& d) noexcept
{
    std::uint32_t first = schedule.subkeys[8 + 2 * round] + right;
    std::uint32_t second = schedule.subkeys[9 + 2 * round] + 2 * right;
    Settle(first);
    Settle(second);
    c = std::rotr(c ^ (first + left), 1);
    d = std::rotl(d, 1) ^ (second + left);
}

// a and b stay, c and d become the next round's a and b. The right half is begun first: it is there first.
[[gnu::always_inline]] inline void Round(const Schedule& schedule, unsigned round, const std::uint32_t& a,
                                         const std::uint32_t& b, std::uint32_t& c, std::uint32_t& d) noexcept
{
    const std::uint32_t right = SubstitutedRotated(schedule, b);
    Join(schedule, round, Substituted(schedule, a), right, c, d);
}

} // namespace Quoll::Twofish
