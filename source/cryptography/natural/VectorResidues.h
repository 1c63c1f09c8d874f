// Residues for processors with the 52-bit multiply-add of AVX-512.
#pragma once

#include "cryptography/natural/Number.h"

#include <vector>

namespace Quoll::Natural
{

/// Residues modulo an odd number by Montgomery's multiplication, 52 bits a limb. They are below twice the modulus, so
/// that equal ones need not be the same.
class VectorResidues
{
public:
    /// Vectors of eight limbs.
    using Residue = std::vector<Limb>;

    /// Whether the processor can do it and the size pays.
    static bool IsFor(const Number& modulus) noexcept;

    /// IsFor must say yes.
    explicit VectorResidues(const Number& modulus);

    /// The number must be below the modulus.
    Residue Enter(const Number& number) const;
    Number Leave(Residue residue) const;

    void Multiply(Residue& residue, const Residue& factor) const noexcept
    {
        m_multiply(residue.data(), residue.data(), factor.data(), *this);
    }
    void Square(Residue& residue) const noexcept
    {
        m_multiply(residue.data(), residue.data(), residue.data(), *this);
    }

private:
    friend struct VectorKernel;

    using Operation = void (*)(Limb* out, const Limb* a, const Limb* b, const VectorResidues& residues) noexcept;

    Residue Split(const Number& number) const;

    Number m_number;
    std::size_t m_limbs; // steps of a multiplication; four times the modulus is below 2^(52 * limbs)
    std::size_t m_vectors;
    Residue m_modulus;
    Residue m_squaredRadix;
    Limb m_inverse; // -1 / modulus modulo 2^52
    Operation m_multiply;
};

} // namespace Quoll::Natural
