// Sums and products.
#include "cryptography/HugeIntegerAccess.h"
#include "cryptography/HugeIntegerDivision.h"

#include <algorithm>

namespace Quoll::Utilities
{

namespace
{

using Natural::Digits;

std::int16_t DigitAt(const Digits& digits, std::size_t at) noexcept
{
    return at < digits.size() ? digits[at] : std::int16_t{0};
}

// Both over as many digits as the longer one has.
Digits Add(const Digits& a, const Digits& b)
{
    const std::size_t count = std::max(a.size(), b.size());
    Digits sum;
    sum.reserve(count + 1);
    int carry = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const int digit = DigitAt(a, i) + DigitAt(b, i) + carry;
        carry = digit > 9 ? 1 : 0;
        sum.push_back(static_cast<std::int16_t>(digit - 10 * carry));
    }
    if (carry != 0)
    {
        sum.push_back(1);
    }
    return sum;
}

// A borrow beyond the top, which b without leading zeros doesn't make, is lost.
Digits Subtract(const Digits& a, const Digits& b)
{
    const std::size_t count = std::max(a.size(), b.size());
    Digits difference;
    difference.reserve(count);
    int borrow = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const int digit = DigitAt(a, i) - DigitAt(b, i) - borrow;
        borrow = digit < 0 ? 1 : 0;
        difference.push_back(static_cast<std::int16_t>(digit + 10 * borrow));
    }
    return difference;
}

} // namespace

HugeInteger HugeInteger::operator+(const HugeInteger& other)
{
    HugeInteger sum(std::max(m_blockSize, other.m_blockSize) + 1);
    if (m_digits.empty() && other.m_digits.empty())
    {
        return sum;
    }
    sum.m_positive = m_positive;
    if (m_positive == other.m_positive)
    {
        sum.m_digits = Add(m_digits, other.m_digits);
    }
    else if (isAbsBigger(other))
    {
        sum.m_digits = Subtract(other.m_digits, m_digits);
        sum.m_positive = !m_positive;
    }
    else
    {
        sum.m_digits = Subtract(m_digits, other.m_digits);
    }
    sum.removeSpace();
    return sum;
}

HugeInteger HugeInteger::operator-(const HugeInteger& other)
{
    HugeInteger negative(other);
    negative.m_positive = !other.m_positive;
    return *this + negative;
}

HugeInteger HugeInteger::operator+=(const HugeInteger& other)
{
    return *this = *this + other;
}

HugeInteger HugeInteger::operator-=(int value)
{
    return *this = *this - value;
}

HugeInteger HugeInteger::operator*(const HugeInteger& other)
{
    // A row for each digit of this number is added, and each sum's block size is one more.
    HugeInteger product(DefaultBlockSize + size());
    product.m_digits =
        Natural::ToDigits(Natural::Multiply(Natural::FromDigits(m_digits), Natural::FromDigits(other.m_digits)));
    product.m_positive = m_positive == other.m_positive;
    return product;
}

} // namespace Quoll::Utilities
