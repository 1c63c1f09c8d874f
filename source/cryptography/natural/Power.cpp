#include "cryptography/natural/Power.h"

#include "cryptography/natural/Kernels.h"

#include <algorithm>

namespace Quoll::Natural
{

namespace
{

// Above it a division after a product of subquadratic time is faster.
constexpr std::size_t MontgomeryLimbs = 256;

const Kernel& Best() noexcept
{
    static const Kernel best = Kernels().back();
    return best;
}

std::size_t WindowFor(std::size_t bits) noexcept
{
    return bits > 671 ? 6 : bits > 239 ? 5 : bits > 79 ? 4 : bits > 23 ? 3 : 1;
}

} // namespace

// Each step doubles the number of right bits, of which an odd number itself has three.
Limb NegativeInverse(Limb odd) noexcept
{
    Limb inverse = odd;
    for (unsigned bits = 3; bits < LimbBits; bits *= 2)
    {
        inverse *= 2 - odd * inverse;
    }
    return ~inverse + 1;
}

Montgomery::Montgomery(const Number& modulus)
    : m_modulus(modulus)
    , m_inverse(NegativeInverse(modulus.front()))
    , m_wide(2 * modulus.size())
{
    Number squared(2 * modulus.size() + 1);
    squared.back() = 1;
    m_squaredRadix = Divide(squared, modulus).remainder;
    m_squaredRadix.resize(modulus.size());
}

Montgomery::Residue Montgomery::Enter(const Number& number) const
{
    Residue residue(m_modulus.size());
    std::copy(number.begin(), number.end(), residue.begin());
    Multiply(residue, m_squaredRadix);
    return residue;
}

Number Montgomery::Leave(const Residue& residue) const
{
    std::copy(residue.begin(), residue.end(), m_wide.begin());
    std::fill(m_wide.begin() + static_cast<std::ptrdiff_t>(residue.size()), m_wide.end(), 0);
    Number number(residue.size());
    Best().reduce(number.data(), m_wide.data(), m_modulus.data(), m_modulus.size(), m_inverse);
    Trim(number);
    return number;
}

void Montgomery::Multiply(Residue& residue, const Residue& factor) const
{
    const std::size_t count = m_modulus.size();
    Best().multiply(m_wide.data(), residue.data(), factor.data(), count);
    Best().reduce(residue.data(), m_wide.data(), m_modulus.data(), count, m_inverse);
}

void Montgomery::Square(Residue& residue) const
{
    const std::size_t count = m_modulus.size();
    Best().square(m_wide.data(), residue.data(), count);
    Best().reduce(residue.data(), m_wide.data(), m_modulus.data(), count, m_inverse);
}

template<class Residues>
typename Residues::Residue Power(const Residues& residues, const typename Residues::Residue& base, Bits exponent)
{
    const std::size_t window = WindowFor(exponent.size());
    std::vector<typename Residues::Residue> odd(std::size_t{1} << (window - 1), base); // base^1, base^3, ...
    if (window > 1)
    {
        typename Residues::Residue squared = base;
        residues.Square(squared);
        for (std::size_t i = 1; i < odd.size(); ++i)
        {
            odd[i] = odd[i - 1];
            residues.Multiply(odd[i], squared);
        }
    }
    typename Residues::Residue result;
    bool started = false;
    for (std::size_t at = 0; at < std::max<std::size_t>(exponent.size(), 1);)
    {
        if (at != 0 && exponent[at] == 0)
        {
            residues.Square(result);
            ++at;
            continue;
        }
        // The bits of a window, from this 1 to the last 1 within reach.
        std::size_t value = 1;
        std::size_t length = 1;
        for (std::size_t reach = 2; reach <= window && at + reach <= exponent.size(); ++reach)
        {
            if (exponent[at + reach - 1] != 0)
            {
                value = (value << (reach - length)) | 1;
                length = reach;
            }
        }
        for (std::size_t i = 0; started && i < length; ++i)
        {
            residues.Square(result);
        }
        if (started)
        {
            residues.Multiply(result, odd[value / 2]);
        }
        else
        {
            result = odd[value / 2];
            started = true;
        }
        at += length;
    }
    return result;
}

template Montgomery::Residue Power(const Montgomery&, const Montgomery::Residue&, Bits);
template Divided::Residue Power(const Divided&, const Divided::Residue&, Bits);
template VectorResidues::Residue Power(const VectorResidues&, const VectorResidues::Residue&, Bits);

PowerModulo::PowerModulo(const Number& modulus)
    : m_residues(Divided(modulus))
{
    const bool isOne = modulus.size() == 1 && modulus.front() == 1;
    if (VectorResidues::IsFor(modulus))
    {
        m_residues.emplace<VectorResidues>(modulus);
    }
    else if (modulus.front() % 2 == 1 && !isOne && modulus.size() <= MontgomeryLimbs)
    {
        m_residues.emplace<Montgomery>(modulus);
    }
}

Number PowerModulo::operator()(const Number& base, Bits exponent) const
{
    return std::visit(
        [&](const auto& residues) { return residues.Leave(Power(residues, residues.Enter(base), exponent)); },
        m_residues);
}

} // namespace Quoll::Natural
