// Random digits and the search for primes among them.
#include "cryptography/BitList.h"
#include "cryptography/HugeIntegerAccess.h"
#include "cryptography/natural/Power.h"

#include <cstdlib>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

using Natural::Montgomery;
using Natural::Number;

std::int16_t RandomBelow(int bound) noexcept
{
    return static_cast<std::int16_t>(std::rand() % bound);
}

// What witnesses say of an odd number above 1, which is 1 + 2^s * d with an odd d.
class WitnessRounds
{
public:
    explicit WitnessRounds(const Number& number)
        : m_number(number)
        , m_residues(number)
        , m_one(m_residues.One())
        , m_minusOne(m_residues.Negative(m_one))
        , m_bits(BitList(number))
    {
        m_bits.back() = 0;
        while (m_bits.back() == 0)
        {
            m_bits.pop_back();
            ++m_halvings;
        }
    }

    bool Pass(const Number& witness) const
    {
        const Number base = Natural::Divide(witness, m_number).remainder;
        Montgomery::Residue power = Natural::Power(m_residues, m_residues.Enter(base), m_bits);
        // An exponent of 1 gives the witness as it is, which the number needn't exceed if it has leading zeros.
        const bool isReduced = m_bits.size() > 1 || Natural::Compare(witness, m_number) < 0;
        if (isReduced && (power == m_one || power == m_minusOne))
        {
            return true;
        }
        for (int i = 1; i < m_halvings; ++i)
        {
            m_residues.Square(power);
            if (power == m_one || power == m_minusOne)
            {
                return power == m_minusOne;
            }
        }
        return false;
    }

private:
    Number m_number;
    Montgomery m_residues;
    Montgomery::Residue m_one;
    Montgomery::Residue m_minusOne;
    std::vector<unsigned char> m_bits;
    int m_halvings = 0;
};

} // namespace

void HugeInteger::random(unsigned int digits)
{
    if (digits == 0)
    {
        throw std::invalid_argument("a random number needs a digit");
    }
    m_blockSize = std::max(m_blockSize, digits);
    m_digits.clear();
    m_digits.reserve(digits);
    for (unsigned int i = 1; i < digits; ++i)
    {
        m_digits.push_back(RandomBelow(10));
    }
    m_digits.push_back(static_cast<std::int16_t>(RandomBelow(9) + 1));
    m_positive = true;
}

bool HugeInteger::IsPrime()
{
    const auto isDigit = [this](std::int16_t digit) {
        return m_digits.size() == 1 && m_digits.front() == digit;
    };
    if (isDigit(2) || isDigit(3))
    {
        return true;
    }
    if (m_digits.empty() || even() || m_digits.front() == 5)
    {
        return false;
    }
    const Number number = Natural::FromDigits(m_digits);
    const Number one{1};
    if (number == one || size() == 1)
    {
        return number != one;
    }
    const bool isShort = size() < 4;
    if (isShort && number == Number{3})
    {
        return true; // no witness is between 1 and 2
    }
    const Number above = Natural::Subtract(number, one);
    const WitnessRounds rounds(number);
    for (unsigned int round = 1; round < size(); ++round)
    {
        HugeInteger witness;
        Number value;
        do
        {
            witness.random(isShort ? 1 : static_cast<unsigned int>(std::rand()) % (size() - 3) + 2);
            value = HugeIntegerAccess::Magnitude(witness);
        } while (isShort && (value == one || Natural::Compare(value, above) >= 0));
        if (!rounds.Pass(value))
        {
            return false;
        }
    }
    return true;
}

} // namespace Quoll::Utilities
