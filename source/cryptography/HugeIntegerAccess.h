// The fields of a HugeInteger for the rest of the family.
#pragma once

#include "Quoll/HugeInteger.h"
#include "cryptography/natural/Decimal.h"

#include <cstdint>
#include <utility>

namespace Quoll::Utilities
{

struct HugeIntegerAccess
{
    static const Natural::Digits& Digits(const HugeInteger& number) noexcept
    {
        return number.m_digits;
    }
    static std::uint32_t BlockSize(const HugeInteger& number) noexcept
    {
        return number.m_blockSize;
    }
    static bool IsPositive(const HugeInteger& number) noexcept
    {
        return number.m_positive;
    }
    static Natural::Number Magnitude(const HugeInteger& number)
    {
        return Natural::FromDigits(number.m_digits);
    }
    static HugeInteger Make(Natural::Digits digits, std::uint32_t blockSize, bool isPositive)
    {
        HugeInteger number(blockSize);
        number.m_digits = std::move(digits);
        number.m_positive = isPositive;
        return number;
    }
};

/// Zero and above, without leading zeros.
inline bool IsPlain(const HugeInteger& number) noexcept
{
    const Natural::Digits& digits = HugeIntegerAccess::Digits(number);
    return HugeIntegerAccess::IsPositive(number) && (digits.empty() || digits.back() != 0);
}

} // namespace Quoll::Utilities
