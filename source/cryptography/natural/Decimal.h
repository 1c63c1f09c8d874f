// Natural numbers from and to decimal digits, in well below quadratic time when they are long.
#pragma once

#include "cryptography/natural/Number.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Quoll::Natural
{

/// The units digit first; each from 0 to 9.
using Digits = std::vector<std::int16_t>;

/// The value of the digits, zeros at the top included.
Number FromDigits(std::span<const std::int16_t> digits);

/// The digits without zeros at the top; none for zero.
Digits ToDigits(const Number& number);

/// The number of decimal digits; 0 for zero.
std::size_t DigitCount(const Number& number);

/// digits % modulus, in time that grows with the product of both lengths at most. The modulus must not be zero.
Number RemainderOfDigits(std::span<const std::int16_t> digits, const Number& modulus);

} // namespace Quoll::Natural
