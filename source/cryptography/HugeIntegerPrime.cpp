// Random digits and the search for primes among them.
#include "cryptography/HugeIntegerAccess.h"
#include "cryptography/natural/Witnesses.h"

#include <cstdlib>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

using Natural::Number;

std::int16_t RandomBelow(int bound) noexcept
{
    return static_cast<std::int16_t>(std::rand() % bound);
}

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
    const Natural::Witnesses witnesses(number);
    for (unsigned int round = 1; round < size(); ++round)
    {
        HugeInteger witness;
        Number value;
        do
        {
            witness.random(isShort ? 1 : static_cast<unsigned int>(std::rand()) % (size() - 3) + 2);
            value = HugeIntegerAccess::Magnitude(witness);
        } while (isShort && (value == one || Natural::Compare(value, above) >= 0));
        if (!witnesses.Pass(value))
        {
            return false;
        }
    }
    return true;
}

} // namespace Quoll::Utilities
