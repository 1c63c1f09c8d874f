// Searching and copying wide text eight units at a time, in vectors that every processor has.
#pragma once

#include "Quoll/WideString.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Quoll::Utilities
{

using UnitBlock [[gnu::vector_size(16)]] = std::uint16_t;

constexpr std::size_t BlockUnits = 8;
static_assert(sizeof(UnitBlock) == BlockUnits * sizeof(WChar) && std::endian::native == std::endian::little);

// A search stops at the units of which its `Stop` says so, of a block of them or of one.
struct IsBackslash
{
    auto operator()(auto units) const noexcept
    {
        return units == std::uint16_t{'\\'};
    }
};

// The first of eight lanes that is set, or 8.
template<class Lanes>
std::size_t FindLane(Lanes lanes) noexcept
{
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(lanes);
    if ((halves[0] | halves[1]) == 0)
    {
        return BlockUnits;
    }
    const auto bits = halves[0] != 0 ? std::countr_zero(halves[0]) : 64 + std::countr_zero(halves[1]);
    return static_cast<std::size_t>(bits) / 16;
}

inline UnitBlock LoadBlock(const WChar* from) noexcept
{
    UnitBlock block;
    std::memcpy(&block, from, sizeof(block));
    return block;
}

// The number of units before the first at which the search stops, or all.
template<class Stop>
std::size_t CountUntil(WStringView text, Stop stop) noexcept
{
    std::size_t position = 0;
    for (; text.size() - position >= BlockUnits; position += BlockUnits)
    {
        if (const std::size_t lane = FindLane(stop(LoadBlock(text.data() + position))); lane != BlockUnits)
        {
            return position + lane;
        }
    }
    while (position < text.size() && !stop(std::uint16_t{text[position]}))
    {
        ++position;
    }
    return position;
}

// The same for fewer units than a block has.
template<class Stop>
std::size_t CopyShortUntil(WStringView text, WChar* to, Stop stop) noexcept
{
    constexpr std::size_t half = BlockUnits / 2;
    const std::size_t size = text.size();
    if (size < half)
    {
        std::size_t position = 0;
        for (; position < size && !stop(std::uint16_t{text[position]}); ++position)
        {
            to[position] = text[position];
        }
        return position;
    }
    // The halves overlap, unless there are eight units.
    std::array<std::uint64_t, 2> halves;
    std::memcpy(&halves[0], text.data(), sizeof(halves[0]));
    std::memcpy(&halves[1], text.data() + (size - half), sizeof(halves[1]));
    std::memcpy(to, &halves[0], sizeof(halves[0]));
    std::memcpy(to + (size - half), &halves[1], sizeof(halves[1]));
    const std::size_t lane = FindLane(stop(std::bit_cast<UnitBlock>(halves)));
    return lane < half ? lane : size - BlockUnits + lane;
}

// Copies the units before the first at which the search stops, and tells their number. May write as
// many units as the text has, which must not overlap with it.
template<class Stop>
std::size_t CopyUntil(WStringView text, WChar* to, Stop stop) noexcept
{
    const std::size_t size = text.size();
    if (size < BlockUnits)
    {
        return CopyShortUntil(text, to, stop);
    }
    for (std::size_t position = 0;;)
    {
        const UnitBlock block = LoadBlock(text.data() + position);
        std::memcpy(to + position, &block, sizeof(block));
        if (const std::size_t lane = FindLane(stop(block)); lane != BlockUnits)
        {
            return position + lane;
        }
        if (position + BlockUnits == size)
        {
            return size;
        }
        // The last block overlaps with the one before.
        position = std::min(position + BlockUnits, size - BlockUnits);
    }
}

} // namespace Quoll::Utilities
