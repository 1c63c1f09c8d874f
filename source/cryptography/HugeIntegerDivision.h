// What divisions say of divisors that they can't have, and how results come by their block size.
#pragma once

#include "Quoll/Errors.h"
#include "cryptography/natural/Decimal.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace Quoll::Utilities
{

constexpr std::uint32_t DefaultBlockSize = 10;

[[noreturn]] inline void ThrowNegativeDivisor()
{
    throw std::invalid_argument("division by a negative number");
}

[[noreturn]] inline void ThrowRemainderOfZero()
{
    throw MathError("remainder of division by zero");
}

/// Each subtraction of the divisor is a sum, and a digit of the quotient is their count.
inline std::uint32_t RemainderBlockSize(std::uint32_t divisorBlockSize, const Natural::Digits& quotient) noexcept
{
    if (quotient.empty())
    {
        return DefaultBlockSize;
    }
    std::uint32_t size = std::max(DefaultBlockSize, divisorBlockSize);
    for (const std::int16_t digit : quotient)
    {
        size += static_cast<std::uint32_t>(digit);
    }
    return size;
}

} // namespace Quoll::Utilities
