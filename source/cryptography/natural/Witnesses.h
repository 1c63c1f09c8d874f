// What witnesses after Miller and Rabin say of a number.
#pragma once

#include "cryptography/natural/Power.h"

#include <vector>

namespace Quoll::Natural
{

/// The test of one odd number above 1, which is 1 + 2^s * d with an odd d. Threads: one at a time.
class Witnesses
{
public:
    explicit Witnesses(const Number& number);

    /// Whether witness^d modulo the number is 1 or -1, or one of its first s - 1 squarings -1. For d = 1 the witness
    /// itself has to be 1 or -1, not its remainder.
    bool Pass(const Number& witness) const;

private:
    // What holds modulo the number holds modulo its factors.
    struct Factor
    {
        Limb prime;
        Limb exponent; // d modulo prime - 1
    };

    void FindFactors(const Number& number);
    bool PassModulo(const Factor& factor, const Number& witness) const noexcept;

    Number m_number;
    Number m_above; // the number - 1
    PowerModulo m_power;
    std::vector<std::uint8_t> m_bits; // of d
    int m_halvings = 0;               // s
    std::vector<Factor> m_factors;
};

} // namespace Quoll::Natural
