// The bits of a number as exponents are given.
#pragma once

#include "cryptography/natural/Number.h"

#include <vector>

namespace Quoll::Utilities
{

/// Bytes 0 and 1, the most significant bit first; none for zero.
inline std::vector<unsigned char> BitList(const Natural::Number& number)
{
    const std::size_t count = Natural::BitCount(number);
    std::vector<unsigned char> bits(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const Natural::Limb limb = number[i / Natural::LimbBits];
        bits[count - 1 - i] = static_cast<unsigned char>(limb >> i % Natural::LimbBits & 1);
    }
    return bits;
}

} // namespace Quoll::Utilities
