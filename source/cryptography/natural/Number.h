// Natural numbers in limbs, with products and quotients that stay well below quadratic time when they are long.
//
// A Number has no zero limb at its top; zero is empty. All functions take and give such numbers.
#pragma once

#include "cryptography/natural/Rows.h"

#include <vector>

namespace Quoll::Natural
{

using Number = std::vector<Limb>;

/// Takes the zero limbs off the top.
void Trim(Number& number) noexcept;

/// The number of significant bits; 0 for zero.
std::size_t BitCount(const Number& number) noexcept;

/// Negative, zero or positive as a is below, equal to or above b.
int Compare(const Number& a, const Number& b) noexcept;

Number Add(const Number& a, const Number& b);

/// a must not be below b.
Number Subtract(const Number& a, const Number& b);

Number Multiply(const Number& a, const Number& b);

/// out = a * b for rows that aren't empty; out has room for both counts and is apart. One row twice is squared.
void MultiplyRows(Limb* out, const Limb* a, std::size_t aCount, const Limb* b, std::size_t bCount);

struct Division
{
    Number quotient;
    Number remainder;
};

/// The divisor must not be zero.
Division Divide(const Number& dividend, const Number& divisor);

/// number % divisor; the divisor must not be zero.
Limb RemainderOf(const Number& number, Limb divisor) noexcept;

/// The quotient of two limbs by a limb whose top bit is set, by two multiplications.
class Reciprocal
{
public:
    /// The top bit must be set.
    explicit constexpr Reciprocal(Limb divisor) noexcept
        : m_divisor(divisor)
        , m_inverse(LowOf(~Wide{0} / divisor))
    {
    }

    /// high:low / divisor; high must be below the divisor.
    Limb Divide(Limb high, Limb low, Limb& remainder) const noexcept
    {
        const Wide estimate = static_cast<Wide>(m_inverse) * high + (static_cast<Wide>(high) << LimbBits | low);
        Limb quotient = HighOf(estimate) + 1;
        remainder = low - quotient * m_divisor;
        if (remainder > LowOf(estimate))
        {
            --quotient;
            remainder += m_divisor;
        }
        if (remainder >= m_divisor) [[unlikely]]
        {
            ++quotient;
            remainder -= m_divisor;
        }
        return quotient;
    }

private:
    Limb m_divisor;
    Limb m_inverse; // less its top bit, which is always 1
};

} // namespace Quoll::Natural
