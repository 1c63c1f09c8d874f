// Puts a few keys in order by counting for each those that come before it: comparing them one by one, a
// processor would guess every other branch wrong.
#pragma once

#include "Quoll/WideString.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Quoll::Json
{

// The first units of a key as a number. Such numbers are in the order of their keys, as far as they differ and
// none is negative: that is the one of a key that isn't ASCII.
using KeyOrder = std::int32_t;

constexpr std::size_t KeyPrefixSize = 4;

// Masks of that many units.
constexpr std::array<std::uint64_t, KeyPrefixSize + 1> KeyPrefixMasks = {0, 0xFFFF, 0xFFFF'FFFF, 0xFFFF'FFFF'FFFF,
                                                                         ~0ull};

// Reads so many units of a shorter key too.
inline KeyOrder GetKeyOrder(const WChar* key, std::size_t size) noexcept
{
    static_assert(std::endian::native == std::endian::little);
    std::uint64_t units;
    std::memcpy(&units, key, sizeof(units));
    units &= KeyPrefixMasks[std::min(size, KeyPrefixSize)];
    const std::uint64_t pairs = units | units >> 8;
    const auto packed = static_cast<std::uint32_t>((pairs & 0xFFFF) | (pairs >> 16 & 0xFFFF'0000));
    constexpr std::uint64_t notAscii = 0xFF80'FF80'FF80'FF80;
    return (units & notAscii) != 0 ? -1 : static_cast<KeyOrder>(__builtin_bswap32(packed));
}

class KeyRanks
{
public:
    static constexpr std::size_t Capacity = 16;
    // So many orders are looked at together, and read behind the last one too.
    static constexpr std::size_t BlockSize = 4;

    // False if the orders don't tell that of the keys.
    bool Rank(const KeyOrder* orders, std::size_t count) noexcept
    {
        for (std::size_t first = 0; first < count; first += BlockSize)
        {
            RankBlock(orders, first, count);
        }
        // Keys that begin alike have the same rank, and another has none.
        std::uint32_t ranks = 0;
        KeyOrder all = 0;
        for (std::size_t i = 0; i < count; ++i)
        {
            ranks |= 1u << m_ranks[i];
            all |= orders[i];
        }
        return ranks == (1u << count) - 1 && all >= 0;
    }
    // How many keys come before that one.
    std::size_t operator[](std::size_t index) const noexcept
    {
        return static_cast<std::size_t>(m_ranks[index]);
    }

private:
    using Block [[gnu::vector_size(BlockSize * sizeof(KeyOrder))]] = KeyOrder;

    void RankBlock(const KeyOrder* orders, std::size_t first, std::size_t count) noexcept
    {
        Block block;
        Block ranks = {};
        std::memcpy(&block, orders + first, sizeof(block));
        for (std::size_t i = 0; i < count; ++i)
        {
            ranks -= block > orders[i]; // a lane of true is -1
        }
        std::memcpy(&m_ranks[first], &ranks, sizeof(ranks));
    }

    std::array<KeyOrder, Capacity> m_ranks;
};

} // namespace Quoll::Json
