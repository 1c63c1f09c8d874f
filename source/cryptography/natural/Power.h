// Powers modulo a number that stays the same.
//
// Time depends on the numbers: what a key is made of isn't hidden from somebody who can measure it finely.
#pragma once

#include "cryptography/natural/Number.h"
#include "cryptography/natural/VectorResidues.h"

#include <cstdint>
#include <span>
#include <variant>

namespace Quoll::Natural
{

/// Most significant bit first; the first one counts as 1 whatever it is, an empty list as a single 1.
using Bits = std::span<const std::uint8_t>;

/// -1 / odd modulo 2^64.
Limb NegativeInverse(Limb odd) noexcept;

/// Residues modulo an odd number above 1 by Montgomery's multiplication. Products take quadratic time.
class Montgomery
{
public:
    /// As many limbs as the modulus has.
    using Residue = std::vector<Limb>;

    explicit Montgomery(const Number& modulus);

    /// The number must be below the modulus.
    Residue Enter(const Number& number) const;
    Number Leave(const Residue& residue) const;

    void Multiply(Residue& residue, const Residue& factor) const;
    void Square(Residue& residue) const;

private:
    Number m_modulus;
    Residue m_squaredRadix;
    Limb m_inverse;
    mutable std::vector<Limb> m_wide;
};

/// Residues modulo any number by division.
class Divided
{
public:
    using Residue = Number;

    explicit Divided(const Number& modulus)
        : m_modulus(modulus)
    {
    }
    void Multiply(Residue& residue, const Residue& factor) const
    {
        residue = Divide(Natural::Multiply(residue, factor), m_modulus).remainder;
    }
    void Square(Residue& residue) const
    {
        Multiply(residue, residue);
    }
    static Residue Enter(const Number& number)
    {
        return number;
    }
    static Number Leave(const Residue& residue)
    {
        return residue;
    }

private:
    Number m_modulus;
};

/// base ^ exponent; a sliding window over the exponent's bits.
template<class Residues>
typename Residues::Residue Power(const Residues& residues, const typename Residues::Residue& base, Bits exponent);

/// base ^ exponent modulo the modulus, which must not be zero; the base must be below it. Threads: one at a time.
class PowerModulo
{
public:
    explicit PowerModulo(const Number& modulus);
    Number operator()(const Number& base, Bits exponent) const;

private:
    std::variant<Divided, Montgomery, VectorResidues> m_residues;
};

} // namespace Quoll::Natural
