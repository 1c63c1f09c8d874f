// Bits and powers.
#include "cryptography/HugeIntegerAccess.h"
#include "cryptography/HugeIntegerDivision.h"
#include "cryptography/natural/BitList.h"
#include "cryptography/natural/Power.h"

namespace Quoll::Utilities
{

using Natural::Number;

std::vector<unsigned char> HugeInteger::toBinary()
{
    return Natural::BitList(Natural::FromDigits(m_digits));
}

// The last step is made apart: how often the modulus fits in there shows in the block size.
HugeInteger HugeInteger::calcPowMod(const std::vector<unsigned char>& exponentBits, const HugeInteger& modulus)
{
    if (exponentBits.size() < 2)
    {
        return *this;
    }
    const Number divisor = Natural::FromDigits(modulus.m_digits);
    if (divisor.empty())
    {
        ThrowRemainderOfZero();
    }
    const bool isLastBitSet = exponentBits.back() != 0;
    const bool isPositive = m_positive || !isLastBitSet;
    const Number base = Natural::FromDigits(m_digits);
    if (base.empty())
    {
        return HugeIntegerAccess::Make({}, DefaultBlockSize, isPositive);
    }
    if (!modulus.m_positive)
    {
        ThrowNegativeDivisor();
    }
    Number last = base;
    if (exponentBits.size() > 2)
    {
        const Natural::Bits before(exponentBits.data(), exponentBits.size() - 1);
        last = Natural::PowerModulo(divisor)(Natural::RemainderOfDigits(m_digits, divisor), before);
    }
    last = Natural::Multiply(last, last);
    if (isLastBitSet)
    {
        last = Natural::Multiply(last, base);
    }
    const Natural::Division parts = Natural::Divide(last, divisor);
    return HugeIntegerAccess::Make(Natural::ToDigits(parts.remainder),
                                   RemainderBlockSize(modulus.m_blockSize, Natural::ToDigits(parts.quotient)),
                                   isPositive);
}

} // namespace Quoll::Utilities
