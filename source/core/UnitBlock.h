// Searching and copying wide text eight units at a time, in vectors that every processor has.
#pragma once

#include "Quoll/WideString.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Quoll::Utilities
{

using UnitBlock [[gnu::vector_size(16)]] = std::uint16_t;

constexpr std::size_t BlockUnits = 8;
static_assert(sizeof(UnitBlock) == BlockUnits * sizeof(WChar));

// A search stops at the units of which its `Stop` says so, of a block of them or of one.
struct IsBackslash
{
    auto operator()(auto units) const noexcept
    {
        return units == std::uint16_t{'\\'};
    }
};

// A bit for each lane of two blocks that is set.
template<class Lanes>
unsigned GetMask(Lanes low, Lanes high) noexcept
{
#if defined(__SSE2__)
    return static_cast<unsigned>(
        _mm_movemask_epi8(_mm_packs_epi16(std::bit_cast<__m128i>(low), std::bit_cast<__m128i>(high))));
#else
    unsigned mask = 0;
    for (std::size_t lane = 0; lane < BlockUnits; ++lane)
    {
        mask |= (low[lane] != 0 ? 1u : 0u) << lane | (high[lane] != 0 ? 1u : 0u) << (BlockUnits + lane);
    }
    return mask;
#endif
}

inline UnitBlock LoadBlock(const WChar* from) noexcept
{
    UnitBlock block;
    std::memcpy(&block, from, sizeof(block));
    return block;
}

inline void StoreBlock(WChar* to, UnitBlock block) noexcept
{
    std::memcpy(to, &block, sizeof(block));
}

// The number of units before the first at which the search stops, or all.
template<class Stop>
std::size_t CountUntil(WStringView text, Stop stop) noexcept
{
    std::size_t position = 0;
    for (; text.size() - position >= 2 * BlockUnits; position += 2 * BlockUnits)
    {
        const UnitBlock low = LoadBlock(text.data() + position);
        const UnitBlock high = LoadBlock(text.data() + position + BlockUnits);
        if (const unsigned mask = GetMask(stop(low), stop(high)); mask != 0)
        {
            return position + static_cast<std::size_t>(std::countr_zero(mask));
        }
    }
    while (position < text.size() && !stop(std::uint16_t{text[position]}))
    {
        ++position;
    }
    return position;
}

// CopyUntil for fewer units than half a block has.
template<class Stop>
std::size_t CopyFewUntil(WStringView text, WChar* to, Stop stop) noexcept
{
    std::size_t position = 0;
    for (; position < text.size() && !stop(std::uint16_t{text[position]}); ++position)
    {
        to[position] = text[position];
    }
    return position;
}

// CopyUntil for half a block up to a whole one, in halves that overlap.
template<class Stop>
std::size_t CopyHalvesUntil(WStringView text, WChar* to, Stop stop) noexcept
{
    constexpr std::size_t half = BlockUnits / 2;
    const std::size_t last = text.size() - half;
    std::uint64_t halves[2];
    std::memcpy(&halves[0], text.data(), sizeof(halves[0]));
    std::memcpy(&halves[1], text.data() + last, sizeof(halves[1]));
    std::memcpy(to, &halves[0], sizeof(halves[0]));
    std::memcpy(to + last, &halves[1], sizeof(halves[1]));
    using Halves [[gnu::vector_size(16)]] = std::uint64_t;
    const auto lanes = stop(std::bit_cast<UnitBlock>(Halves{halves[0], halves[1]}));
    const unsigned mask = GetMask(lanes, lanes);
    if (mask == 0)
    {
        return text.size();
    }
    const auto lane = static_cast<std::size_t>(std::countr_zero(mask));
    return lane < half ? lane : last + lane - half;
}

// Copies the units before the first at which the search stops, and tells their number. May write as
// many units as the text has, which must not overlap with it.
template<class Stop>
[[gnu::always_inline]] inline std::size_t CopyUntil(WStringView text, WChar* to, Stop stop) noexcept
{
    const std::size_t size = text.size();
    if (size < BlockUnits)
    {
        return size < BlockUnits / 2 ? CopyFewUntil(text, to, stop) : CopyHalvesUntil(text, to, stop);
    }
    // Two blocks at a time; what is left at the end is made up with units from before.
    std::size_t position = 0;
    while (true)
    {
        const std::size_t second = std::min(position + BlockUnits, size - BlockUnits);
        const UnitBlock low = LoadBlock(text.data() + position);
        const UnitBlock high = LoadBlock(text.data() + second);
        StoreBlock(to + position, low);
        StoreBlock(to + second, high);
        if (const unsigned mask = GetMask(stop(low), stop(high)); mask != 0)
        {
            const auto lane = static_cast<std::size_t>(std::countr_zero(mask));
            return lane < BlockUnits ? position + lane : second + lane - BlockUnits;
        }
        if (second + BlockUnits == size)
        {
            return size;
        }
        position = std::min(second + BlockUnits, size - BlockUnits);
    }
}

} // namespace Quoll::Utilities
