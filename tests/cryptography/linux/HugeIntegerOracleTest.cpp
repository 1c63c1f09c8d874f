// Huge integers beside GMP's.
#include "Quoll/HugeInteger.h"

#include <gtest/gtest.h>

#include <gmpxx.h>

using Quoll::Utilities::HugeInteger;

namespace
{

HugeInteger Number(const mpz_class& value)
{
    HugeInteger number;
    number = value < 0 ? -1 : 1;
    number.FromString(mpz_class(abs(value)).get_str());
    return number;
}

mpz_class RandomNumber(gmp_randclass& random, std::size_t digits)
{
    mpz_class least;
    mpz_ui_pow_ui(least.get_mpz_t(), 10, digits - 1);
    return least + mpz_class(random.get_z_range(9 * least));
}

void ExpectSame(HugeInteger number, const mpz_class& expected)
{
    EXPECT_EQ(number.ToString(), expected.get_str());
}

} // namespace

TEST(HugeInteger, ArithmeticIsThatOfGmp)
{
    gmp_randclass random(gmp_randinit_mt);
    for (const std::size_t count : {1U, 30U, 300U, 2000U, 7000U, 70000U})
    {
        const int sign = count % 20 == 0 ? -1 : 1;
        const mpz_class more = random.get_z_range(count);
        const mpz_class x = sign * RandomNumber(random, count + more.get_ui());
        const mpz_class y = RandomNumber(random, count);
        HugeInteger a = Number(x);
        const HugeInteger b = Number(y);
        EXPECT_EQ(a.toBinary().size(), mpz_sizeinbase(x.get_mpz_t(), 2));
        ExpectSame(a + b, x + y);
        ExpectSame(a - b, x - y);
        ExpectSame(a * b, x * y);
        ExpectSame(a / b, x / y);
        ExpectSame(a % b, x % y);
        if (count < 10000)
        {
            ExpectSame(a.abs().getMaxDiviser(b), gcd(x, y));
        }
    }
}

// Odd moduli and even ones, long exponents, bases that exceed the modulus.
TEST(HugeInteger, PowersAreThoseOfGmp)
{
    gmp_randclass random(gmp_randinit_mt);
    for (const std::size_t count : {10U, 19U, 20U, 100U, 155U, 300U, 301U, 309U, 600U})
    {
        for (const std::size_t baseCount : {count - 1, 3 * count + 7, std::size_t{2}})
        {
            const mpz_class base = RandomNumber(random, baseCount);
            const mpz_class exponent = RandomNumber(random, count);
            const mpz_class modulus = RandomNumber(random, count);
            mpz_class power;
            mpz_powm(power.get_mpz_t(), base.get_mpz_t(), exponent.get_mpz_t(), modulus.get_mpz_t());
            ExpectSame(Number(base).calcPowMod(Number(exponent).toBinary(), Number(modulus)), power);
        }
    }
}

TEST(HugeInteger, FindsThePrimesOfGmp)
{
    gmp_randclass random(gmp_randinit_mt);
    for (const std::size_t count : {4U, 18U, 19U, 20U, 39U, 100U, 155U})
    {
        mpz_class prime = RandomNumber(random, count);
        mpz_nextprime(prime.get_mpz_t(), prime.get_mpz_t());
        EXPECT_TRUE(Number(prime).IsPrime()) << prime.get_str();
        mpz_class next;
        mpz_nextprime(next.get_mpz_t(), prime.get_mpz_t());
        EXPECT_FALSE(Number(prime * next).IsPrime()) << prime.get_str();
    }
}
