// Quotients, remainders and the greatest common divisor.
#include "cryptography/HugeIntegerDivision.h"

#include "cryptography/HugeIntegerAccess.h"

namespace Quoll::Utilities
{

namespace
{

using Natural::Digits;
using Natural::Number;

bool IsZero(const Digits& digits) noexcept
{
    return std::all_of(digits.begin(), digits.end(), [](std::int16_t digit) { return digit == 0; });
}

// Two plain numbers, each with the block size that it would have.
struct Pair
{
    Number number;
    std::uint32_t blockSize;
};

// The last of Euclid's remainders that isn't zero.
HugeInteger GreatestDivisor(Pair a, Pair b)
{
    while (!b.number.empty())
    {
        Natural::Division parts = Natural::Divide(a.number, b.number);
        const std::uint32_t blockSize = RemainderBlockSize(b.blockSize, Natural::ToDigits(parts.quotient));
        a = std::move(b);
        b = {std::move(parts.remainder), blockSize};
    }
    return HugeIntegerAccess::Make(Natural::ToDigits(a.number), a.blockSize, true);
}

} // namespace

HugeInteger HugeInteger::divMod(const HugeInteger& divisor, HugeInteger& remainder)
{
    HugeInteger quotient(size());
    if (m_digits.empty() || IsZero(divisor.m_digits))
    {
        return quotient;
    }
    if (!divisor.m_positive)
    {
        ThrowNegativeDivisor();
    }
    Natural::Division parts = Natural::Divide(Natural::FromDigits(m_digits), Natural::FromDigits(divisor.m_digits));
    quotient.m_digits = Natural::ToDigits(parts.quotient);
    const bool isAsItWas = parts.quotient.empty() && m_digits.size() <= divisor.m_digits.size();
    Digits rest = isAsItWas ? m_digits : Natural::ToDigits(parts.remainder);
    remainder.m_blockSize = RemainderBlockSize(divisor.m_blockSize, quotient.m_digits);
    remainder.m_digits.swap(rest);
    remainder.m_positive = true;
    return quotient;
}

HugeInteger HugeInteger::operator/(const HugeInteger& divisor)
{
    if (IsZero(divisor.m_digits))
    {
        throw MathError("division by zero");
    }
    HugeInteger remainder;
    HugeInteger quotient = divMod(divisor, remainder);
    quotient.m_positive = m_positive == divisor.m_positive;
    return quotient;
}

HugeInteger HugeInteger::operator%(const HugeInteger& divisor)
{
    if (IsZero(divisor.m_digits))
    {
        ThrowRemainderOfZero();
    }
    HugeInteger remainder;
    divMod(divisor, remainder);
    remainder.m_positive = m_positive;
    return remainder;
}

HugeInteger HugeInteger::getMaxDiviser(HugeInteger other)
{
    HugeInteger a(*this);
    while (other != 0)
    {
        if (IsPlain(a) && IsPlain(other))
        {
            return GreatestDivisor({HugeIntegerAccess::Magnitude(a), a.m_blockSize},
                                   {HugeIntegerAccess::Magnitude(other), other.m_blockSize});
        }
        const HugeInteger rest = a % other;
        a = other;
        other = rest;
    }
    a.m_positive = true;
    return a;
}

} // namespace Quoll::Utilities
