// Quotients: limb by limb while they are short, by halves above, so that they cost little more than products.
#include "cryptography/natural/Number.h"

#include <algorithm>
#include <bit>

namespace Quoll::Natural
{

namespace
{

constexpr std::size_t HalvingLimbs = 64;

// Rows throughout: the dividend a has n + m limbs and the divisor b n limbs, the top bit of which is set. The quotient
// has m limbs; the remainder stays in a.

// The top n limbs of a must be below b.
void DividePlain(Limb* quotient, Limb* a, std::size_t m, const Limb* b, std::size_t n) noexcept
{
    const Limb top = b[n - 1];
    const Reciprocal reciprocal(top);
    for (std::size_t i = m; i-- > 0;)
    {
        Limb* const part = a + i;
        Limb digit = ~Limb{0};
        if (part[n] < top)
        {
            Limb rest = 0;
            digit = reciprocal.Divide(part[n], part[n - 1], rest);
            if (n > 1)
            {
                const Wide second = static_cast<Wide>(digit) * b[n - 2];
                if (second > (static_cast<Wide>(rest) << LimbBits | part[n - 2]))
                {
                    --digit;
                }
            }
        }
        const Limb borrow = SubtractProduct(part, b, n, digit);
        const bool tooMuch = part[n] < borrow;
        part[n] -= borrow;
        if (tooMuch)
        {
            do
            {
                --digit;
                part[n] += AddRows(part, part, b, n);
            } while (part[n] != 0);
        }
        quotient[i] = digit;
    }
}

void DivideHalves(Limb* quotient, Limb* a, std::size_t m, const Limb* b, std::size_t n, Limb* product);

// As DivideHalves, where the top n limbs of a may equal b or, by a little, exceed it: the quotient is then the greatest
// of m limbs, which is too great rather than too small, and the remainder may have a limb more.
void DivideTop(Limb* quotient, Limb* a, std::size_t m, const Limb* b, std::size_t n, Limb* product)
{
    if (CompareRows(a + m, b, n) < 0)
    {
        DivideHalves(quotient, a, m, b, n, product);
        return;
    }
    std::fill_n(quotient, m, ~Limb{0});
    SubtractRows(a + m, a + m, b, n);
    const Limb carry = AddRows(a, a, b, n);
    AddLimb(a + n, m, carry);
}

// Takes from a, of `aCount` limbs, the product of a quotient's part and of the `low` limbs of b that the division by
// its top left out; lessens the quotient while that was too much.
void TakeLowProduct(Limb* quotient, std::size_t quotientCount, Limb* a, std::size_t aCount, const Limb* b,
                    std::size_t n, std::size_t low, Limb* product)
{
    MultiplyRows(product, quotient, quotientCount, b, low);
    Limb borrow = SubtractRows(a, a, product, quotientCount + low);
    borrow = SubtractLimb(a + quotientCount + low, aCount - quotientCount - low, borrow);
    while (borrow != 0)
    {
        SubtractLimb(quotient, quotientCount, 1);
        const Limb carry = AddRows(a, a, b, n);
        borrow -= AddLimb(a + n, aCount - n, carry);
    }
}

// The quotient's high half by the divisor's top, then its low half. m is at most n; the top n limbs of a must be below
// b; `product` has room for n limbs.
void DivideHalves(Limb* quotient, Limb* a, std::size_t m, const Limb* b, std::size_t n, Limb* product)
{
    if (m < HalvingLimbs)
    {
        DividePlain(quotient, a, m, b, n);
        return;
    }
    const std::size_t low = m / 2;
    DivideTop(quotient + low, a + 2 * low, m - low, b + low, n - low, product);
    TakeLowProduct(quotient + low, m - low, a + low, n + m - low, b, n, low, product);
    DivideTop(quotient, a + low, low, b + low, n - low, product);
    TakeLowProduct(quotient, low, a, n + low, b, n, low, product);
}

// The quotient n limbs at a time. The top n limbs of a must be below b.
void DivideRows(Limb* quotient, Limb* a, std::size_t m, const Limb* b, std::size_t n)
{
    if (m < HalvingLimbs || n < HalvingLimbs)
    {
        DividePlain(quotient, a, m, b, n);
        return;
    }
    std::vector<Limb> product(n);
    for (std::size_t left = m; left > 0;)
    {
        const std::size_t part = left % n == 0 ? n : left % n;
        left -= part;
        DivideHalves(quotient + left, a + left, part, b, n, product.data());
    }
}

} // namespace

Division Divide(const Number& dividend, const Number& divisor)
{
    Division result;
    if (Compare(dividend, divisor) < 0)
    {
        result.remainder = dividend;
        return result;
    }
    const auto shift = static_cast<unsigned>(std::countl_zero(divisor.back()));
    const std::size_t n = divisor.size();
    const std::size_t m = dividend.size() - n + 1;
    Number b(n);
    ShiftLeft(b.data(), divisor.data(), n, shift);
    result.remainder.resize(dividend.size() + 1);
    result.remainder.back() = ShiftLeft(result.remainder.data(), dividend.data(), dividend.size(), shift);
    result.quotient.resize(m);
    DivideRows(result.quotient.data(), result.remainder.data(), m, b.data(), n);
    result.remainder.resize(n);
    ShiftRight(result.remainder.data(), n, shift);
    Trim(result.quotient);
    Trim(result.remainder);
    return result;
}

Limb RemainderOf(const Number& number, Limb divisor) noexcept
{
    Wide remainder = 0;
    for (std::size_t i = number.size(); i-- > 0;)
    {
        remainder = (remainder << LimbBits | number[i]) % divisor;
    }
    return LowOf(remainder);
}

} // namespace Quoll::Natural
