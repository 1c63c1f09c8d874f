#include "Quoll/HugeInteger.h"
#include "support/MessageOf.h"
#include "support/ReferenceInteger.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <random>
#include <stdexcept>

using namespace Quoll;
using Tests::Ref;
using Utilities::MathError;

namespace
{

struct Huge : Utilities::HugeInteger
{
    using HugeInteger::concat;
    using HugeInteger::divMod;
    using HugeInteger::HugeInteger;
    using HugeInteger::isAbsBigger;
    using HugeInteger::operator=;
    using HugeInteger::reflect;
    using HugeInteger::removeSpace;

    Huge(const HugeInteger& other) // NOLINT(google-explicit-constructor): a test reads better so
        : HugeInteger(other)
    {
    }
    // "-" and "-0" are the negative zeros without and with a digit.
    explicit Huge(const std::string& text)
        : Huge(Made(Ref(text)))
    {
    }

    static Huge Made(const Ref& number)
    {
        Huge made(number.blockSize);
        made = number.positive ? 0 : -1;
        std::string digits = Ref(number).Text();
        made.FromString(digits[0] == '-' ? digits.substr(1) : digits);
        if (number.digits.empty())
        {
            made.removeSpace();
        }
        return made;
    }
};

std::uint32_t BlockSizeOf(Utilities::HugeInteger number)
{
    static const std::string text(100'000, '0');
    unsigned position = 0;
    number.getFromString(text, position);
    return position;
}

void ExpectSame(Utilities::HugeInteger number, const Ref& expected)
{
    EXPECT_EQ(number.ToString(), expected.Text());
    EXPECT_EQ(number == Huge::Made(expected), true) << "sign or leading zeros of " << expected.Text();
    EXPECT_EQ(BlockSizeOf(number), expected.blockSize) << expected.Text();
}

class Operands
{
public:
    Ref Next(std::size_t most)
    {
        Ref number;
        number.digits.resize((*this)() % 4 == 0 ? (*this)() % 4 : (*this)() % (most + 1));
        const unsigned kind = (*this)() % 4;
        for (int& digit : number.digits)
        {
            digit = kind == 0 ? 9 : kind == 1 ? static_cast<int>((*this)() % 8 == 0) : static_cast<int>((*this)() % 10);
        }
        number.positive = (*this)() % 3 != 0;
        number.blockSize = (*this)() % 20 + 1;
        return number;
    }
    std::uint32_t operator()()
    {
        return static_cast<std::uint32_t>(m_random());
    }

private:
    std::mt19937 m_random{7};
};

TEST(HugeInteger, TakesTextsAndInts)
{
    Huge number;
    EXPECT_EQ(number.ToString(), "0");
    EXPECT_TRUE(number.FromString("0123456789"));
    EXPECT_EQ(number.size(), 10U);
    for (const char* refused : {"", "12a", "-12", " 1", "1 ", "\xB2"})
    {
        EXPECT_FALSE(number.FromString(refused)) << refused;
        EXPECT_EQ(number.ToString(), "0123456789");
    }
    number = -5;
    EXPECT_EQ(number.ToString(), "-5");
    EXPECT_EQ(number.abs().ToString(), "5");
    EXPECT_TRUE(number.FromString("7"));
    EXPECT_EQ(number.ToString(), "-7");
    number = INT_MAX;
    EXPECT_EQ(number.ToString(), "2147483647");
    number = INT_MIN;
    EXPECT_EQ(number.ToString(), "-2147483647");
    number = 0;
    EXPECT_TRUE(number == 0);
    EXPECT_FALSE(number == INT_MIN);
    EXPECT_TRUE(Huge("-") == INT_MIN);
    EXPECT_EQ((number -= 12).ToString(), "-12");
    EXPECT_TRUE(number.even());
    EXPECT_FALSE(Huge("21").even());
    EXPECT_TRUE(Huge().even());
}

TEST(HugeInteger, CutsBlocksFromText)
{
    struct
    {
        unsigned blockSize;
        const char* text;
        unsigned from;
        bool result;
        unsigned to;
        const char* number;
    } const cases[] = {{4, "12345678", 0, true, 4, "1234"},
                       {4, "12345678", 4, true, UINT_MAX, "5678"},
                       {4, "1234", 0, true, UINT_MAX, "1234"},
                       {4, "12345", 4, true, UINT_MAX, "5"},
                       {4, "12345", 5, false, UINT_MAX, "0"},
                       {4, "12345", UINT_MAX, false, UINT_MAX, "0"},
                       {4, "", 0, false, UINT_MAX, "0"},
                       {4, "12a456", 0, false, 4, "0"},
                       {0, "12", 1, false, 1, "0"},
                       {UINT_MAX, "12", 1, true, UINT_MAX, "2"},
                       {4, "0012345", 0, true, 4, "0012"}};
    for (const auto& each : cases)
    {
        Huge number(each.blockSize);
        unsigned position = each.from;
        EXPECT_EQ(number.getFromString(each.text, position), each.result) << each.text;
        EXPECT_EQ(position, each.to) << each.text;
        EXPECT_EQ(number.ToString(), each.number) << each.text;
    }
}

TEST(HugeInteger, ComparesBySignAndNumberOfDigits)
{
    // In rising order; a later one is greater than all before.
    const char* const rising[] = {"-007", "-10", "-9", "-0", "-", "", "0", "8", "12", "007", "0008"};
    for (std::size_t i = 0; i < std::size(rising); ++i)
    {
        for (std::size_t j = 0; j < std::size(rising); ++j)
        {
            Huge a{std::string(rising[i])};
            Huge b{std::string(rising[j])};
            EXPECT_EQ(a == b, i == j) << rising[i] << " " << rising[j];
            EXPECT_EQ(a != b, i != j) << rising[i] << " " << rising[j];
            EXPECT_EQ(a < b, i < j) << rising[i] << " " << rising[j];
            EXPECT_EQ(a > b, i > j || (i == j && a.size() == 0)) << rising[i] << " " << rising[j];
            EXPECT_EQ(a.isAbsBigger(b), IsAbsBigger(Ref(rising[i]), Ref(rising[j]))) << rising[i] << " " << rising[j];
        }
        Huge a{std::string(rising[i])};
        EXPECT_EQ(a < 1000, i < 5) << rising[i];
        EXPECT_EQ(a < -1000, i < 5) << rising[i];
        EXPECT_EQ(a > 0, i >= 5) << rising[i];
        EXPECT_EQ(a > 8, i > 7) << rising[i];
    }
}

TEST(HugeInteger, ChangesItsDigits)
{
    Huge number("0120");
    number.reflect();
    EXPECT_EQ(number.ToString(), "0210");
    number.removeSpace();
    EXPECT_EQ(number.ToString(), "210");
    number.concat(Huge("007"));
    EXPECT_EQ(number.ToString(), "210007");
    number.concat(number);
    EXPECT_EQ(number.ToString(), "210007210007");
    number.concat(Huge());
    EXPECT_EQ(number.size(), 12U);
}

TEST(HugeInteger, AgreesWithPlainSums)
{
    Operands operands;
    for (int i = 0; i < 1500; ++i)
    {
        const Ref a = operands.Next(i % 10 == 0 ? 700 : 40);
        const Ref b = operands.Next(i % 10 == 0 ? 700 : 40);
        ExpectSame(Huge::Made(a) + Huge::Made(b), Add(a, b));
        ExpectSame(Huge::Made(a) - Huge::Made(b), Add(a, b.Turned()));
        if (i % 10 != 0 || i % 100 == 0)
        {
            ExpectSame(Huge::Made(a) * Huge::Made(b), Multiply(a, b));
        }
        Huge sum = Huge::Made(a);
        EXPECT_EQ((sum += sum).ToString(), Add(a, a).Text());
        ASSERT_FALSE(HasFailure()) << a.Text() << " " << b.Text();
    }
}

// By value: the steps are for operands without leading zeros.
TEST(HugeInteger, AgreesWithPlainDivision)
{
    Operands operands;
    for (int i = 0; i < 800; ++i)
    {
        Ref a = operands.Next(i % 100 == 0 ? 700 : 60);
        Ref b = operands.Next(i % 100 == 0 ? 700 : 40);
        Huge dividend = Huge::Made(a);
        Huge divisor = Huge::Made(b);
        const Ref aGiven = a;
        const std::size_t bCount = b.digits.size();
        if (a.digits.size() < 50 || i == 0)
        {
            EXPECT_EQ(dividend.toBinary(), ToBinary(a));
        }
        a.Strip();
        b.Strip();
        if (b.digits.empty())
        {
            EXPECT_EQ(Tests::MessageOf<MathError>([&] { dividend / divisor; }), "division by zero");
            EXPECT_EQ(Tests::MessageOf<MathError>([&] { dividend % divisor; }), "remainder of division by zero");
            continue;
        }
        if (!b.positive && !aGiven.digits.empty())
        {
            EXPECT_EQ(Tests::MessageOf<std::invalid_argument>([&] { dividend / divisor; }),
                      "division by a negative number");
            EXPECT_THROW(dividend % divisor, std::invalid_argument);
            continue;
        }
        Ref quotient = Divide(a, b);
        quotient.blockSize = static_cast<std::uint32_t>(aGiven.digits.size());
        ExpectSame(dividend / divisor, quotient);
        const bool stays = IsAbsBigger(a, b) && aGiven.digits.size() <= bCount;
        ExpectSame(dividend % divisor,
                   stays ? Remainder(aGiven, Ref("1" + std::string(bCount, '0'))) : Remainder(a, b));
        ASSERT_FALSE(HasFailure()) << aGiven.Text() << " " << b.Text();
    }
}

TEST(HugeInteger, LeavesTheRemainderOfNothing)
{
    Huge remainder("42");
    EXPECT_EQ(Huge().divMod(Huge("7"), remainder).size(), 0U);
    EXPECT_EQ(Huge("8").divMod(Huge(), remainder).size(), 0U);
    EXPECT_EQ(Huge("8").divMod(Huge("-000"), remainder).size(), 0U);
    EXPECT_EQ(Huge().divMod(Huge("-7"), remainder).size(), 0U);
    EXPECT_EQ(remainder.ToString(), "42");
    EXPECT_EQ(Huge("-100").divMod(remainder, remainder).ToString(), "2");
    EXPECT_EQ(remainder.ToString(), "16");
    EXPECT_TRUE(Huge("-3") / 7 == Huge("-"));
    EXPECT_TRUE(Huge("-5") + 5 == Huge("-"));
    EXPECT_TRUE(Huge("-5") * 0 == Huge("-"));
    EXPECT_EQ((Huge("007") - 8).ToString(), "999");
}

TEST(HugeInteger, AgreesWithPlainPowers)
{
    Operands operands;
    for (int i = 0; i < 120; ++i)
    {
        const std::size_t most = i % 40 == 0 ? 700 : 40;
        const Ref base = operands.Next(most);
        Ref modulus = operands.Next(most).Strip();
        std::vector<unsigned char> bits(operands() % (most == 700 ? 5 : 80));
        std::generate(bits.begin(), bits.end(), [&] { return static_cast<unsigned char>(operands() % 2 * 3); });
        modulus.positive = true;
        if (modulus.digits.empty() && bits.size() > 1)
        {
            EXPECT_THROW(Huge::Made(base).calcPowMod(bits, Huge()), MathError);
            continue;
        }
        ExpectSame(Huge::Made(base).calcPowMod(bits, Huge::Made(modulus)), PowMod(base, bits, modulus));
        ASSERT_FALSE(HasFailure()) << base.Text() << " " << modulus.Text();
    }
    EXPECT_EQ(Huge("0123").calcPowMod({0}, Huge("7")).ToString(), "0123");
    EXPECT_EQ(Huge("3").calcPowMod({1, 1}, Huge("0010")).ToString(), "7");
    EXPECT_THROW(Huge("3").calcPowMod({1, 1}, Huge("-10")), std::invalid_argument);
    EXPECT_EQ(Huge("3").calcPowMod({1, 1}, Huge("1")).size(), 0U);
}

TEST(HugeInteger, FindsTheGreatestCommonDivisor)
{
    Operands operands;
    for (int i = 0; i < 300; ++i)
    {
        Ref factor = operands.Next(20).Strip();
        Ref a = Multiply(factor, operands.Next(40));
        Ref b = Multiply(factor, operands.Next(40));
        a.positive = b.positive = true;
        a.blockSize = operands() % 50;
        Huge divisor = Huge::Made(a).getMaxDiviser(Huge::Made(b));
        while (!b.digits.empty())
        {
            const Ref rest = Remainder(a, b);
            a = b;
            b = rest;
        }
        ExpectSame(divisor, a);
    }
    EXPECT_EQ(Huge("0012").getMaxDiviser(Huge("018")).ToString(), "6");
    EXPECT_EQ(Huge("-12").getMaxDiviser(Huge()).ToString(), "12");
    EXPECT_EQ(Huge().getMaxDiviser(Huge("-12")).ToString(), "12");
    EXPECT_THROW(Huge("-12").getMaxDiviser(Huge("6")), MathError);
    EXPECT_THROW(Huge("-12").getMaxDiviser(Huge("7")), std::invalid_argument);
    EXPECT_THROW(Huge("12").getMaxDiviser(Huge("-7")), std::invalid_argument);
}

// With the same answers and the same use of the generator.
TEST(HugeInteger, TestsForPrimesWithThePlainStepsWitnesses)
{
    Operands operands;
    for (unsigned i = 0; i < 800; ++i)
    {
        Ref number(std::to_string(i < 600 ? i : i < 750 ? operands() : operands() | 1));
        number.Strip();
        if (i >= 750)
        {
            number = Add(Multiply(number, operands.Next(25)), Ref("1"));
        }
        number.positive = i % 2 == 0;
        std::srand(i);
        const bool expected = IsPrime(number);
        const int next = std::rand();
        std::srand(i);
        EXPECT_EQ(Huge::Made(number).IsPrime(), expected) << number.Text();
        EXPECT_EQ(std::rand(), next) << number.Text();
    }
    const std::pair<const char*, bool> known[] = {{"9", true},
                                                  {"5", false},
                                                  {"0", false},
                                                  {"01", false},
                                                  {"003", true},
                                                  {"002", false},
                                                  {"0003", false},
                                                  {"0001", false},
                                                  {"170141183460469231731687303715884105727", true},
                                                  {"170141183460469231731687303715884105729", false}};
    for (const auto& [text, isPrime] : known)
    {
        EXPECT_EQ(Huge(std::string(text)).IsPrime(), isPrime) << text;
    }
}

TEST(HugeInteger, TakesRandomDigits)
{
    Huge number(3);
    number = -1;
    std::srand(5);
    number.random(40);
    std::srand(5);
    Ref expected = Tests::Random(40);
    expected.blockSize = 40;
    ExpectSame(number, expected);
    number.random(2);
    EXPECT_EQ(BlockSizeOf(number), 40U);
    EXPECT_THROW(number.random(0), std::invalid_argument);
    EXPECT_EQ(number.size(), 2U);
}

} // namespace
