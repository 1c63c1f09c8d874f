// Products: row by row while they are short, after Karatsuba above.
#include "cryptography/natural/Number.h"

#include <algorithm>

namespace Quoll::Natural
{

namespace
{

constexpr std::size_t KaratsubaLimbs = 32;

void MultiplyPlain(Limb* out, const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount) noexcept
{
    out[aCount] = MultiplyRow(out, a, aCount, b[0]);
    for (std::size_t i = 1; i < bCount; ++i)
    {
        out[aCount + i] = AddProduct(out + i, a, aCount, b[i]);
    }
}

// Products of different limbs once, doubled, and the squares.
void SquarePlain(Limb* out, const Limb* a, std::size_t count) noexcept
{
    std::fill_n(out, 2 * count, 0);
    for (std::size_t i = 0; i + 1 < count; ++i)
    {
        out[count + i] = AddProduct(out + 2 * i + 1, a + i + 1, count - i - 1, a[i]);
    }
    DoubleAndAddSquares(out, a, count);
}

constexpr std::size_t ScratchFor(std::size_t count) noexcept
{
    return 4 * count + 256; // a limb more at each of the levels, of which there are fewer than 64
}

// out = |low - high| of a number's halves; whether the high half is the greater one. The high half may be one limb
// shorter.
bool Difference(Limb* out, const Limb* low, std::size_t lowCount, const Limb* high, std::size_t highCount) noexcept
{
    if (lowCount > highCount && low[highCount] != 0)
    {
        out[highCount] = low[highCount] - SubtractRows(out, low, high, highCount);
        return false;
    }
    std::fill_n(out + highCount, lowCount - highCount, 0);
    const bool highIsGreater = CompareRows(low, high, highCount) < 0;
    SubtractRows(out, highIsGreater ? high : low, highIsGreater ? low : high, highCount);
    return highIsGreater;
}

// The three products of halves: low, high, and that of the differences, which takes the middle's place.
void MultiplyHalves(Limb* out, const Limb* a, const Limb* b, std::size_t count, Limb* scratch) noexcept
{
    if (count < KaratsubaLimbs)
    {
        if (a == b)
        {
            SquarePlain(out, a, count);
        }
        else
        {
            MultiplyPlain(out, a, count, b, count);
        }
        return;
    }
    const std::size_t low = (count + 1) / 2;
    const std::size_t high = count - low;
    Limb* const differences = scratch;
    Limb* const product = scratch + 2 * low;
    Limb* const rest = scratch + 4 * low;
    const bool aTurned = Difference(differences, a, low, a + low, high);
    Limb* const second = a == b ? differences : differences + low;
    const bool bTurned = a == b ? aTurned : Difference(second, b, low, b + low, high);
    MultiplyHalves(product, differences, second, low, rest);
    MultiplyHalves(out, a, b, low, rest);
    MultiplyHalves(out + 2 * low, a + low, b + low, high, rest);

    Limb* const middle = differences; // the differences themselves aren't needed any more
    std::copy_n(out, 2 * low, middle);
    Limb carry = AddRows(middle, middle, out + 2 * low, 2 * high);
    carry = AddLimb(middle + 2 * high, 2 * (low - high), carry);
    if (aTurned == bTurned)
    {
        carry -= SubtractRows(middle, middle, product, 2 * low);
    }
    else
    {
        carry += AddRows(middle, middle, product, 2 * low);
    }
    carry += AddRows(out + low, out + low, middle, 2 * low);
    AddLimb(out + 3 * low, 2 * count - 3 * low, carry);
}

// The longer factor in pieces of the shorter one's size.
void MultiplyPieces(Limb* out, const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount)
{
    if (bCount < KaratsubaLimbs)
    {
        MultiplyPlain(out, a, aCount, b, bCount);
        return;
    }
    std::fill_n(out, aCount + bCount, 0);
    std::vector<Limb> scratch(2 * bCount + ScratchFor(bCount));
    Limb* const product = scratch.data();
    std::size_t at = 0;
    for (; aCount - at >= bCount; at += bCount)
    {
        MultiplyHalves(product, a + at, b, bCount, product + 2 * bCount);
        const Limb carry = AddRows(out + at, out + at, product, 2 * bCount);
        AddLimb(out + at + 2 * bCount, aCount - at - bCount, carry);
    }
    if (at < aCount)
    {
        MultiplyPieces(product, b, bCount, a + at, aCount - at); // shorter each time, so a few deep at most
        AddRows(out + at, out + at, product, aCount - at + bCount);
    }
}

} // namespace

void MultiplyRows(Limb* out, const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount)
{
    if (aCount == bCount)
    {
        std::vector<Limb> scratch(aCount < KaratsubaLimbs ? 0 : ScratchFor(aCount));
        MultiplyHalves(out, a, b, aCount, scratch.data());
    }
    else if (aCount > bCount)
    {
        MultiplyPieces(out, a, aCount, b, bCount);
    }
    else
    {
        MultiplyPieces(out, b, bCount, a, aCount);
    }
}

Number Multiply(const Number& a, const Number& b)
{
    if (a.empty() || b.empty())
    {
        return {};
    }
    Number product(a.size() + b.size());
    MultiplyRows(product.data(), a.data(), a.size(), b.data(), b.size());
    Trim(product);
    return product;
}

} // namespace Quoll::Natural
