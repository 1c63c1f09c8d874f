#include "cryptography/natural/Decimal.h"
#include "cryptography/natural/Kernels.h"
#include "cryptography/natural/Power.h"

#include <gtest/gtest.h>

#include <random>

using namespace Quoll::Natural;

namespace
{

class Numbers
{
public:
    // Long runs of ones and zeros among them, which carries and estimates of quotients run into.
    Number Next(std::size_t limbs)
    {
        Number number(limbs);
        const std::uint64_t kind = m_random() % 4;
        for (Limb& limb : number)
        {
            limb = kind == 0 || m_random() % 8 == 0 ? ~Limb{0} : kind == 1 ? Limb{0} : static_cast<Limb>(m_random());
        }
        if (limbs > 0 && number.back() == 0)
        {
            number.back() = Limb{1} << m_random() % LimbBits;
        }
        return number;
    }
    std::uint64_t operator()()
    {
        return m_random();
    }

private:
    std::mt19937_64 m_random{11};
};

Number PlainProduct(const Number& a, const Number& b)
{
    Number product(a.size() + b.size());
    for (std::size_t i = 0; i < b.size(); ++i)
    {
        product[i + a.size()] = AddProduct(product.data() + i, a.data(), a.size(), b[i]);
    }
    Trim(product);
    return product;
}

TEST(Natural, MultipliesAsRowByRow)
{
    Numbers numbers;
    for (int i = 0; i < 600; ++i)
    {
        const std::size_t most = i % 50 == 0 ? 1500 : 150;
        const Number a = numbers.Next(numbers() % most);
        const Number b = numbers.Next(numbers() % most);
        ASSERT_EQ(Multiply(a, b), PlainProduct(a, b)) << a.size() << " " << b.size();
        ASSERT_EQ(Multiply(a, a), PlainProduct(a, a)) << a.size();
    }
}

TEST(Natural, DividesBackWhatItMultiplied)
{
    Numbers numbers;
    for (int i = 0; i < 1500; ++i)
    {
        const std::size_t most = i % 100 == 0 ? 2000 : i % 3 == 0 ? 300 : 6;
        const Number divisor = numbers.Next(numbers() % most + 1);
        const Number quotient = numbers.Next(numbers() % most);
        Number remainder = numbers.Next(numbers() % (divisor.size() + 1));
        if (i % 5 == 0)
        {
            remainder = Subtract(divisor, {1});
        }
        if (Compare(remainder, divisor) < 0)
        {
            const Division parts = Divide(Add(PlainProduct(divisor, quotient), remainder), divisor);
            ASSERT_EQ(parts.quotient, quotient) << divisor.size();
            ASSERT_EQ(parts.remainder, remainder) << divisor.size();
        }
        const Limb small = numbers() >> numbers() % LimbBits | 1;
        ASSERT_EQ(RemainderOf(quotient, small), [&] {
            const Number rest = Divide(quotient, {small}).remainder;
            return rest.empty() ? 0 : rest.front();
        }());
    }
}

TEST(Natural, ReadsTheDigitsThatItWrites)
{
    Numbers numbers;
    for (int i = 0; i < 300; ++i)
    {
        const Number number = numbers.Next(numbers() % (i % 30 == 0 ? 1500 : 100));
        Digits digits = ToDigits(number);
        ASSERT_EQ(DigitCount(number), digits.size());
        // Digit by digit, modulo a prime that no chunk knows of.
        constexpr Limb prime = 1'000'003;
        Limb rest = 0;
        for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit)
        {
            rest = (rest * 10 + static_cast<Limb>(*digit)) % prime;
        }
        ASSERT_EQ(rest, RemainderOf(number, prime));
        digits.resize(digits.size() + numbers() % 40);
        ASSERT_EQ(FromDigits(digits), number);
        const Number modulus = numbers.Next(numbers() % 20 + 1);
        ASSERT_EQ(RemainderOfDigits(digits, modulus), Divide(number, modulus).remainder);
    }
    for (std::size_t count : {1U, 18U, 19U, 20U, 38U, 400U, 2000U})
    {
        Digits digits(count + 1);
        digits.back() = 1;
        const Number power = FromDigits(digits);
        EXPECT_EQ(ToDigits(power), digits);
        EXPECT_EQ(DigitCount(power), count + 1);
        EXPECT_EQ(DigitCount(Subtract(power, {1})), count);
        EXPECT_EQ(ToDigits(Subtract(power, {1})), Digits(count, 9));
    }
}

// The plain rows against products and divisions, the others against the plain ones.
TEST(Natural, KernelsAgree)
{
    Numbers numbers;
    for (int i = 0; i < 800; ++i)
    {
        const std::size_t count = numbers() % 40 + 1;
        Number modulus = numbers.Next(count);
        modulus.front() |= 1;
        Number a = numbers.Next(count);
        const Number b = numbers.Next(count);
        Number radix(count + 1);
        radix.back() = 1;
        Limb inverse = modulus.front();
        for (int step = 0; step < 6; ++step)
        {
            inverse *= 2 - modulus.front() * inverse;
        }
        for (const Kernel& kernel : Kernels())
        {
            Number wide(2 * count);
            Number square(2 * count);
            kernel.multiply(wide.data(), a.data(), b.data(), count);
            kernel.square(square.data(), a.data(), count);
            Number product = wide;
            Trim(product);
            Trim(square);
            ASSERT_EQ(product, PlainProduct(a, b)) << kernel.name << " " << count;
            ASSERT_EQ(square, PlainProduct(a, a)) << kernel.name << " " << count;
            if (Compare(a, modulus) < 0)
            {
                Number reduced(count);
                kernel.reduce(reduced.data(), wide.data(), modulus.data(), count, ~inverse + 1);
                Trim(reduced);
                ASSERT_LT(Compare(reduced, modulus), 0) << kernel.name;
                ASSERT_EQ(Divide(Multiply(reduced, radix), modulus).remainder, Divide(product, modulus).remainder)
                    << kernel.name << " " << count;
            }
        }
    }
}

// By Montgomery's multiplication in ordinary registers and in vectors, by division, and by squaring alone.
TEST(Natural, PowersAgree)
{
    Numbers numbers;
    for (int i = 0; i < 400; ++i)
    {
        const Number modulus = numbers.Next(i % 100 == 0 ? 300 : numbers() % (i % 10 == 0 ? 80 : 12) + 1);
        const Number base = Divide(numbers.Next(12), modulus).remainder;
        std::vector<std::uint8_t> bits(numbers() % (i % 20 == 1 ? 900 : 60));
        Number expected = base;
        for (std::size_t at = 0; at < bits.size(); ++at)
        {
            bits[at] = static_cast<std::uint8_t>(numbers() % 2);
            if (at > 0)
            {
                expected = Multiply(expected, expected);
                expected = Divide(bits[at] != 0 ? Multiply(expected, base) : expected, modulus).remainder;
            }
        }
        ASSERT_EQ(PowerModulo(modulus)(base, bits), expected) << modulus.size() << " " << bits.size();
        if (modulus.front() % 2 == 1 && modulus != Number{1})
        {
            const Montgomery residues(modulus);
            ASSERT_EQ(residues.Leave(Power(residues, residues.Enter(base), bits)), expected) << modulus.size();
        }
    }
}

} // namespace
