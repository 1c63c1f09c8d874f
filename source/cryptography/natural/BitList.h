// The bits of a number as exponents are given.
#pragma once

#include "cryptography/natural/Number.h"

#include <cstdint>
#include <vector>

namespace Quoll::Natural
{

/// Bytes 0 and 1, the most significant bit first; none for zero.
inline std::vector<std::uint8_t> BitList(const Number& number)
{
    const std::size_t count = BitCount(number);
    std::vector<std::uint8_t> bits(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const Limb limb = number[i / LimbBits];
        bits[count - 1 - i] = static_cast<std::uint8_t>(limb >> i % LimbBits & 1);
    }
    return bits;
}

} // namespace Quoll::Natural
