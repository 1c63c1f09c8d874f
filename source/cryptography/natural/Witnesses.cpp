#include "cryptography/natural/Witnesses.h"

#include "cryptography/natural/BitList.h"

#include <algorithm>

namespace Quoll::Natural
{

namespace
{

// Odd primes, as many in a row as a limb can have for a product.
struct PrimeGroup
{
    Limb product = 1;
    std::vector<Limb> primes;
};

std::vector<PrimeGroup> MakeGroups()
{
    constexpr Limb bound = 1000;
    std::vector<PrimeGroup> groups(1);
    for (Limb candidate = 3; candidate < bound; candidate += 2)
    {
        Limb divisor = 3;
        while (divisor * divisor <= candidate && candidate % divisor != 0)
        {
            divisor += 2;
        }
        if (divisor * divisor <= candidate)
        {
            continue;
        }
        if (groups.back().product > ~Limb{0} / candidate)
        {
            groups.emplace_back();
        }
        groups.back().product *= candidate;
        groups.back().primes.push_back(candidate);
    }
    return groups;
}

Limb SmallPower(Limb base, Limb exponent, Limb modulus) noexcept
{
    Limb power = 1;
    for (; exponent != 0; exponent >>= 1)
    {
        power = (exponent & 1) != 0 ? power * base % modulus : power;
        base = base * base % modulus;
    }
    return power;
}

} // namespace

Witnesses::Witnesses(const Number& number)
    : m_number(number)
    , m_above(Subtract(number, {1}))
    , m_power(number)
    , m_bits(BitList(number))
{
    m_bits.back() = 0;
    while (m_bits.back() == 0)
    {
        m_bits.pop_back();
        ++m_halvings;
    }
    if (number.size() > 1)
    {
        FindFactors(number);
    }
}

void Witnesses::FindFactors(const Number& number)
{
    static const std::vector<PrimeGroup> groups = MakeGroups();
    for (const PrimeGroup& group : groups)
    {
        const Limb rest = RemainderOf(number, group.product);
        for (const Limb prime : group.primes)
        {
            if (rest % prime == 0)
            {
                Limb exponent = 0;
                for (const std::uint8_t bit : m_bits)
                {
                    exponent = (2 * exponent + bit) % (prime - 1);
                }
                m_factors.push_back({prime, exponent});
            }
        }
    }
}

bool Witnesses::PassModulo(const Factor& factor, const Number& witness) const noexcept
{
    Limb power = SmallPower(RemainderOf(witness, factor.prime), factor.exponent, factor.prime);
    bool passes = power == 1 || power == factor.prime - 1;
    for (int i = 1; i < m_halvings && !passes; ++i)
    {
        power = power * power % factor.prime;
        passes = power == factor.prime - 1;
    }
    return passes;
}

bool Witnesses::Pass(const Number& witness) const
{
    if (!std::all_of(m_factors.begin(), m_factors.end(),
                     [&](const Factor& factor) { return PassModulo(factor, witness); }))
    {
        return false;
    }
    const Number one{1};
    Number power = m_power(Divide(witness, m_number).remainder, m_bits);
    const bool isReduced = m_bits.size() > 1 || Compare(witness, m_number) < 0;
    if (isReduced && (power == one || power == m_above))
    {
        return true;
    }
    for (int i = 1; i < m_halvings; ++i)
    {
        constexpr std::uint8_t two[] = {1, 0};
        power = m_power(power, two);
        if (power == one || power == m_above)
        {
            return power == m_above;
        }
    }
    return false;
}

} // namespace Quoll::Natural
