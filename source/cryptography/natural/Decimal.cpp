#include "cryptography/natural/Decimal.h"

#include <algorithm>
#include <cmath>

namespace Quoll::Natural
{

namespace
{

constexpr std::size_t ChunkDigits = 19;
constexpr Limb ChunkPower = 10'000'000'000'000'000'000U; // 10^19, the top bit of which is set
constexpr std::size_t PlainDigits = 64 * ChunkDigits;
constexpr std::size_t PlainLimbs = 48;

// Number k is 10^(19 * 2^k).
class Powers
{
public:
    const Number& At(std::size_t k)
    {
        if (m_powers.empty())
        {
            m_powers.push_back({ChunkPower});
        }
        while (m_powers.size() <= k)
        {
            m_powers.push_back(Multiply(m_powers.back(), m_powers.back()));
        }
        return m_powers[k];
    }

    // The greatest k whose 19 * 2^k digits are fewer than these, of which there are more than 19.
    static std::size_t Below(std::size_t digits) noexcept
    {
        std::size_t k = 0;
        while (DigitsOf(k + 1) < digits)
        {
            ++k;
        }
        return k;
    }

    static std::size_t DigitsOf(std::size_t k) noexcept
    {
        return ChunkDigits << k;
    }

private:
    std::vector<Number> m_powers;
};

Limb ReadChunk(std::span<const std::int16_t> digits) noexcept
{
    Limb value = 0;
    for (std::size_t i = digits.size(); i-- > 0;)
    {
        value = value * 10 + static_cast<Limb>(digits[i]);
    }
    return value;
}

Number ReadPlain(std::span<const std::int16_t> digits)
{
    Number number;
    number.reserve(digits.size() / ChunkDigits + 1);
    std::size_t left = digits.size();
    for (std::size_t take = left % ChunkDigits; left > 0; left -= take, take = ChunkDigits)
    {
        take = take == 0 ? ChunkDigits : take;
        const Limb chunk = ReadChunk(digits.subspan(left - take, take));
        const Limb carry = MultiplyRow(number.data(), number.data(), number.size(), ChunkPower, chunk);
        if (carry != 0)
        {
            number.push_back(carry);
        }
    }
    return number;
}

Number Read(std::span<const std::int16_t> digits, Powers& powers)
{
    if (digits.size() <= PlainDigits)
    {
        return ReadPlain(digits);
    }
    const std::size_t k = Powers::Below(digits.size());
    const std::size_t low = Powers::DigitsOf(k);
    const Number high = Multiply(Read(digits.subspan(low), powers), powers.At(k));
    return Add(high, Read(digits.first(low), powers));
}

void WriteChunk(Limb chunk, std::span<std::int16_t> digits) noexcept
{
    for (std::int16_t& digit : digits)
    {
        digit = static_cast<std::int16_t>(chunk % 10);
        chunk /= 10;
    }
}

void WritePlain(Number number, std::span<std::int16_t> digits) noexcept
{
    constexpr Reciprocal reciprocal(ChunkPower);
    for (std::size_t at = 0; at < digits.size(); at += ChunkDigits)
    {
        Limb chunk = 0;
        for (std::size_t i = number.size(); i-- > 0;)
        {
            number[i] = reciprocal.Divide(chunk, number[i], chunk);
        }
        Trim(number);
        WriteChunk(chunk, digits.subspan(at, std::min(ChunkDigits, digits.size() - at)));
    }
}

// Fills all of the digits, which must suffice.
void Write(const Number& number, std::span<std::int16_t> digits, Powers& powers)
{
    if (number.size() <= PlainLimbs)
    {
        WritePlain(number, digits);
        return;
    }
    const std::size_t k = Powers::Below(digits.size());
    const Division parts = Divide(number, powers.At(k));
    Write(parts.remainder, digits.first(Powers::DigitsOf(k)), powers);
    Write(parts.quotient, digits.subspan(Powers::DigitsOf(k)), powers);
}

// Not less than the digits that so many bits may have.
std::size_t DigitLimit(std::size_t bits) noexcept
{
    return bits / 10 * 3 + bits / 900 + 5;
}

} // namespace

Number FromDigits(std::span<const std::int16_t> digits)
{
    while (!digits.empty() && digits.back() == 0)
    {
        digits = digits.first(digits.size() - 1);
    }
    Powers powers;
    return Read(digits, powers);
}

Digits ToDigits(const Number& number)
{
    Digits digits(DigitLimit(BitCount(number)));
    Powers powers;
    Write(number, digits, powers);
    while (!digits.empty() && digits.back() == 0)
    {
        digits.pop_back();
    }
    return digits;
}

std::size_t DigitCount(const Number& number)
{
    if (number.empty())
    {
        return 0;
    }
    double top = 0;
    const std::size_t taken = std::min<std::size_t>(number.size(), 3);
    for (std::size_t i = 0; i < taken; ++i)
    {
        top = std::ldexp(top, LimbBits) + static_cast<double>(number[number.size() - 1 - i]);
    }
    constexpr double log2Of10 = 3.321928094887362;
    const double power = std::log10(top) + static_cast<double>((number.size() - taken) * LimbBits) / log2Of10;
    const double nearest = std::round(power);
    if (std::abs(power - nearest) < 1e-9 * (1 + power))
    {
        return ToDigits(number).size();
    }
    return static_cast<std::size_t>(power) + 1;
}

Number RemainderOfDigits(std::span<const std::int16_t> digits, const Number& modulus)
{
    // So many that a piece is about as long as the modulus.
    const std::size_t piece = ChunkDigits * modulus.size();
    Number remainder;
    if (digits.size() <= 3 * piece)
    {
        return Divide(FromDigits(digits), modulus).remainder;
    }
    const Number power = FromDigits([&] {
        Digits one(piece + 1);
        one.back() = 1;
        return one;
    }());
    std::size_t left = digits.size();
    for (std::size_t take = left % piece; left > 0; left -= take, take = piece)
    {
        take = take == 0 ? piece : take;
        const Number shifted = Multiply(remainder, power);
        remainder = Divide(Add(shifted, FromDigits(digits.subspan(left - take, take))), modulus).remainder;
    }
    return remainder;
}

} // namespace Quoll::Natural
