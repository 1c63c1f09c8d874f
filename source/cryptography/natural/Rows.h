// Rows of 64-bit limbs, the least significant first: the steps of which arithmetic on natural numbers is made.
//
// Rows may be the same, and in AddLimb and SubtractLimb empty; they must not overlap otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Quoll::Natural
{

using Limb = std::uint64_t;
__extension__ using Wide = unsigned __int128;

constexpr unsigned LimbBits = 64;

constexpr Limb LowOf(Wide value) noexcept
{
    return static_cast<Limb>(value);
}

constexpr Limb HighOf(Wide value) noexcept
{
    return static_cast<Limb>(value >> LimbBits);
}

/// out = a + b + carry; returns the carry.
inline Limb AddRows(Limb* out, const Limb* a, const Limb* b, std::size_t count, Limb carry = 0) noexcept
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide sum = static_cast<Wide>(a[i]) + b[i] + carry;
        out[i] = LowOf(sum);
        carry = HighOf(sum);
    }
    return carry;
}

/// out = a - b - borrow; returns the borrow.
inline Limb SubtractRows(Limb* out, const Limb* a, const Limb* b, std::size_t count, Limb borrow = 0) noexcept
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide difference = static_cast<Wide>(a[i]) - b[i] - borrow;
        out[i] = LowOf(difference);
        borrow = HighOf(difference) & 1;
    }
    return borrow;
}

/// row += value; returns the carry.
inline Limb AddLimb(Limb* row, std::size_t count, Limb value) noexcept
{
    for (std::size_t i = 0; i < count && value != 0; ++i)
    {
        row[i] += value;
        value = row[i] < value ? 1 : 0;
    }
    return value;
}

/// row -= value; returns the borrow.
inline Limb SubtractLimb(Limb* row, std::size_t count, Limb value) noexcept
{
    for (std::size_t i = 0; i < count && value != 0; ++i)
    {
        const Limb before = row[i];
        row[i] = before - value;
        value = before < value ? 1 : 0;
    }
    return value;
}

/// out = a * factor + carry; returns the limb above.
inline Limb MultiplyRow(Limb* out, const Limb* a, std::size_t count, Limb factor, Limb carry = 0) noexcept
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide product = static_cast<Wide>(a[i]) * factor + carry;
        out[i] = LowOf(product);
        carry = HighOf(product);
    }
    return carry;
}

/// out += a * factor; returns the limb above.
inline Limb AddProduct(Limb* out, const Limb* a, std::size_t count, Limb factor) noexcept
{
    Limb carry = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide sum = static_cast<Wide>(a[i]) * factor + out[i] + carry;
        out[i] = LowOf(sum);
        carry = HighOf(sum);
    }
    return carry;
}

/// out -= a * factor; returns the limb that has to be taken from above.
inline Limb SubtractProduct(Limb* out, const Limb* a, std::size_t count, Limb factor) noexcept
{
    Limb borrow = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide product = static_cast<Wide>(a[i]) * factor + borrow;
        borrow = HighOf(product) + (out[i] < LowOf(product) ? 1 : 0);
        out[i] -= LowOf(product);
    }
    return borrow;
}

/// wide = 2 * wide + the squares of a's limbs, each in its place; wide has twice as many limbs.
inline void DoubleAndAddSquares(Limb* wide, const Limb* a, std::size_t count) noexcept
{
    Limb doubled = 0;
    Limb carry = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide square = static_cast<Wide>(a[i]) * a[i];
        const Wide low = static_cast<Wide>(wide[2 * i] << 1 | doubled) + LowOf(square) + carry;
        doubled = wide[2 * i] >> (LimbBits - 1);
        const Wide high = static_cast<Wide>(wide[2 * i + 1] << 1 | doubled) + HighOf(square) + HighOf(low);
        doubled = wide[2 * i + 1] >> (LimbBits - 1);
        wide[2 * i] = LowOf(low);
        wide[2 * i + 1] = LowOf(high);
        carry = HighOf(high);
    }
}

/// Negative, zero or positive as a is below, equal to or above b.
inline int CompareRows(const Limb* a, const Limb* b, std::size_t count) noexcept
{
    while (count > 0)
    {
        --count;
        if (a[count] != b[count])
        {
            return a[count] < b[count] ? -1 : 1;
        }
    }
    return 0;
}

/// out = row << bits; returns what leaves at the top. bits is below 64.
inline Limb ShiftLeft(Limb* out, const Limb* row, std::size_t count, unsigned bits) noexcept
{
    Limb carry = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide shifted = static_cast<Wide>(row[i]) << bits;
        out[i] = LowOf(shifted) | carry;
        carry = HighOf(shifted);
    }
    return carry;
}

/// row >>= bits; bits is below 64.
inline void ShiftRight(Limb* row, std::size_t count, unsigned bits) noexcept
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const Wide pair = static_cast<Wide>(i + 1 < count ? row[i + 1] : 0) << LimbBits | row[i];
        row[i] = LowOf(pair >> bits);
    }
}

} // namespace Quoll::Natural
