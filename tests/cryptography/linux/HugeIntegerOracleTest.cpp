// Huge integers beside GMP's.
#include "Quoll/HugeInteger.h"

#include <gtest/gtest.h>

#include <gmp.h>

#include <array>
#include <cstdlib>
#include <random>
#include <string>

using Quoll::Utilities::HugeInteger;

namespace
{

// A number of GMP's.
class Peer
{
public:
    explicit Peer(const std::string& text = "0")
    {
        mpz_init_set_str(m_number, text.c_str(), 10);
    }
    ~Peer()
    {
        mpz_clear(m_number);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    operator mpz_ptr() // NOLINT(google-explicit-constructor): as GMP's own type is used
    {
        return m_number;
    }
    std::string Text(int base = 10)
    {
        char* const text = mpz_get_str(nullptr, base, m_number);
        std::string copy(text);
        std::free(text); // NOLINT: allocated by the C library
        return copy;
    }

private:
    mpz_t m_number;
};

HugeInteger Number(const std::string& text)
{
    HugeInteger number;
    number = text[0] == '-' ? -1 : 1;
    number.FromString(text[0] == '-' ? text.substr(1) : text);
    return number;
}

std::string RandomDigits(std::mt19937& random, std::size_t count)
{
    std::string digits(1, static_cast<char>('1' + random() % 9));
    while (digits.size() < count)
    {
        digits += static_cast<char>('0' + random() % 10);
    }
    return digits;
}

} // namespace

TEST(HugeInteger, ArithmeticIsThatOfGmp)
{
    std::mt19937 random(1);
    for (const std::size_t count : {1U, 30U, 300U, 2000U, 7000U, 70000U})
    {
        const std::string aText = (count % 20 == 0 ? "-" : "") + RandomDigits(random, count + random() % count);
        const std::string bText = RandomDigits(random, count);
        HugeInteger a = Number(aText);
        const HugeInteger b = Number(bText);
        Peer x(aText);
        Peer y(bText);
        Peer z;
        EXPECT_EQ(a.toBinary().size(), mpz_sizeinbase(x, 2));
        const auto expect = [&](HugeInteger result, auto* operation) {
            operation(z, x, y);
            EXPECT_EQ(result.ToString(), z.Text());
        };
        expect(a + b, mpz_add);
        expect(a - b, mpz_sub);
        expect(a * b, mpz_mul);
        expect(a / b, mpz_tdiv_q);
        expect(a % b, mpz_tdiv_r);
        if (count < 10000)
        {
            expect(a.abs().getMaxDiviser(b), mpz_gcd);
        }
    }
}

// Odd moduli and even ones, long exponents, bases that exceed the modulus.
TEST(HugeInteger, PowersAreThoseOfGmp)
{
    std::mt19937 random(2);
    for (const std::size_t count : {10U, 19U, 20U, 100U, 155U, 300U, 301U, 309U, 600U})
    {
        for (const std::size_t baseCount : {count - 1, 3 * count + 7, std::size_t{2}})
        {
            const std::array texts{RandomDigits(random, baseCount), RandomDigits(random, count),
                                   RandomDigits(random, count)};
            Peer base(texts[0]);
            Peer exponent(texts[1]);
            Peer modulus(texts[2]);
            mpz_powm(base, base, exponent, modulus);
            EXPECT_EQ(Number(texts[0]).calcPowMod(Number(texts[1]).toBinary(), Number(texts[2])).ToString(),
                      base.Text())
                << count << " " << baseCount;
        }
    }
}

TEST(HugeInteger, FindsThePrimesOfGmp)
{
    std::mt19937 random(3);
    for (const std::size_t count : {4U, 18U, 19U, 20U, 39U, 100U, 155U})
    {
        Peer prime(RandomDigits(random, count));
        mpz_nextprime(prime, prime);
        EXPECT_TRUE(Number(prime.Text()).IsPrime()) << prime.Text();
        Peer product;
        mpz_nextprime(product, prime);
        mpz_mul(product, product, prime);
        EXPECT_FALSE(Number(product.Text()).IsPrime()) << product.Text();
    }
}
