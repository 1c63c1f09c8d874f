#include "Quoll/RSACrypt.h"
#include "support/MessageOf.h"
#include "support/ReferenceInteger.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <stdexcept>

using namespace Quoll;
using Tests::MessageOf;
using Tests::Ref;
using Utilities::HugeInteger;
using Utilities::MathError;
using Utilities::RSACryptKey;
using Utilities::RsaError;

namespace
{

struct Rsa : Utilities::RSACrypt
{
    using RSACrypt::decrypt;
    using RSACrypt::extEuclid;
};

HugeInteger Number(const std::string& text)
{
    HugeInteger number;
    number = text[0] == '-' ? -1 : 0;
    if (text != "0")
    {
        number.FromString(text[0] == '-' ? text.substr(1) : text);
    }
    return number;
}

RSACryptKey Key(const std::string& exponent, const std::string& modulus)
{
    return {Number(exponent), Number(modulus)};
}

// Primes of 20 and 21 digits.
const RSACryptKey PublicKey = Key("65537", "30000000000000000000240000000000000000000477");

template<class Action>
bool IsCorrupted(const Action& action)
{
    return MessageOf<RsaError>(action) == "input data corrupted";
}

std::string Packed(const std::string& bytes)
{
    std::string text = "1";
    for (const char byte : bytes)
    {
        const std::string value = std::to_string(static_cast<unsigned char>(byte));
        text.append(3 - value.size(), '0').append(value);
    }
    return text;
}

std::string Encrypted(const std::string& bytes, RSACryptKey key, unsigned size)
{
    const std::string text = Number(Packed(bytes)).calcPowMod(key.exponent.toBinary(), key.modulus).ToString();
    return std::string(2 * size - text.size(), '0') + text;
}

TEST(RSACrypt, UnpacksAsThePlainStepsDo)
{
    std::mt19937 random(3);
    RSACryptKey same = Key("1", "0");
    const char* const texts[] = {"1",          "0",       "001",   "0001",  "00001",  "1000",
                                 "0001000",    "2000",    "1999",  "10100", "999999", "1000000",
                                 "0001065066", "1999231", "11000", "01",    "00"};
    for (int i = 0; i < 2000; ++i)
    {
        std::string text = i < 17 ? texts[i] : std::string(random() % 5, '0');
        for (std::size_t more = i < 17 ? 0 : random() % 12 + 1; more > 0; --more)
        {
            text += static_cast<char>('0' + (random() % 3 == 0 ? random() % 10 : more % 3 == 1));
        }
        const auto expected = UnpackBytes(Ref(text));
        const auto decrypt = [&] {
            return Rsa::DecryptString(text, same, 50);
        };
        if (expected)
        {
            EXPECT_EQ(decrypt(), *expected) << text;
        }
        else
        {
            EXPECT_TRUE(IsCorrupted(decrypt)) << text;
        }
    }
    EXPECT_EQ(Rsa::decrypt(Number("1065066"), Key("0", "5")), (std::vector<unsigned char>{65, 66}));
    EXPECT_TRUE(IsCorrupted([] { Rsa::decrypt(Number("-1065066"), Key("1", "5")); }));
    EXPECT_EQ(Rsa::decrypt(Number("-35"), Key("2", "10000")), std::vector<unsigned char>{225}) << "1225";
}

TEST(RSACrypt, MakesKeysThatDecrypt)
{
    for (const unsigned size : {20U, 41U, 60U})
    {
        std::shared_ptr<RSACryptKey> open;
        std::shared_ptr<RSACryptKey> secret = std::make_shared<RSACryptKey>();
        Rsa::genKeys(open, secret, size);
        ASSERT_EQ(open->modulus.ToString(), secret->modulus.ToString());
        EXPECT_GE(open->modulus.size(), size / 2 * 2 - 1);
        EXPECT_LE(open->modulus.size(), size / 2 * 2);
        EXPECT_EQ(open->exponent.size(), size - 3);
        const std::string parts[] = {"", "secr\xFF", std::string("\0\x80", 2)};
        std::string text;
        for (const std::string& part : parts)
        {
            text += Encrypted(part, *open, size);
        }
        EXPECT_EQ(Rsa::DecryptString(text, *secret, size), parts[1] + parts[2]);
    }
}

TEST(RSACrypt, MakesTheSmallestKeysAndRefusesLesser)
{
    std::shared_ptr<RSACryptKey> open;
    std::shared_ptr<RSACryptKey> secret;
    for (unsigned size = 0; size < 4; ++size)
    {
        EXPECT_THROW(Rsa::genKeys(open, secret, size), std::invalid_argument);
        EXPECT_EQ(open, nullptr);
    }
    for (unsigned size = 4; size < 10; ++size)
    {
        Rsa::genKeys(open, secret, size);
        EXPECT_EQ(open->exponent.size(), size - 3);
        EXPECT_FALSE(secret->exponent < 0);
    }
}

TEST(RSACrypt, FindsCoefficients)
{
    std::mt19937_64 random(9);
    for (int i = 0; i < 60; ++i)
    {
        const Ref a = Multiply(Ref(std::to_string(random() >> random() % 60)), Ref(std::to_string(random())));
        const Ref b(std::to_string((random() >> random() % 60) + 1));
        const Ref expected = Coefficient(a, b);
        HugeInteger result;
        Rsa::extEuclid(Number(a.Text()), Number(b.Text()), result);
        EXPECT_EQ(result.ToString(), expected.Text()) << a.Text() << " " << b.Text();
        EXPECT_EQ(result < 0, !expected.positive);
        static const std::string zeros(1000, '0');
        unsigned position = 0;
        result.getFromString(zeros, position);
        EXPECT_EQ(position, expected.blockSize);
    }
    const std::array<const char*, 3> cases[] = {
        {"12", "-5", "1"}, {"-7", "3", "2"}, {"0", "3", "1"}, {"007", "012", "3"}};
    for (const auto& [a, b, t] : cases)
    {
        HugeInteger result;
        Rsa::extEuclid(Number(a), Number(b), result);
        EXPECT_EQ(result.ToString(), t) << a << " " << b;
    }
    HugeInteger result;
    EXPECT_THROW(Rsa::extEuclid(Number("5"), HugeInteger(), result), MathError);
}

TEST(RSACrypt, RefusesWhatIsNoText)
{
    RSACryptKey key = PublicKey;
    for (const char* text : {"", "12x4", "-123", " 1"})
    {
        EXPECT_TRUE(IsCorrupted([&] { Rsa::DecryptString(text, key, 22); })) << text;
    }
    EXPECT_TRUE(IsCorrupted([&] { Rsa::DecryptString("1", key, 0); }));
    EXPECT_TRUE(IsCorrupted([&] { Rsa::DecryptString("1", key, 0x80000000); }));
    EXPECT_TRUE(IsCorrupted([&] { Rsa::DecryptString("1x", key, 1); }));
    EXPECT_EQ(Rsa::DecryptString("1", key, 22), "");
    RSACryptKey zero = Key("3", "0");
    EXPECT_EQ(MessageOf<MathError>([&] { Rsa::DecryptString("1", zero, 5); }), "remainder of division by zero");
    RSACryptKey negative = Key("3", "-7");
    EXPECT_THROW(Rsa::DecryptString("1", negative, 5), std::invalid_argument);
    EXPECT_TRUE(IsCorrupted([&] { Rsa::DecryptString("0", negative, 5); }));
}

TEST(RSACrypt, WalksSegments)
{
    RSACryptKey same = Key("1", "0");
    const auto decrypt = [&](const std::string& text) {
        return Rsa::DecryptLongString(text, same, 20);
    };
    EXPECT_EQ(decrypt(""), "");
    EXPECT_EQ(decrypt("10"), "");
    EXPECT_EQ(decrypt("104"), "");
    EXPECT_EQ(decrypt("100" + Packed("A")), "");
    EXPECT_EQ(decrypt("104" + Packed("A") + "107" + Packed("BC") + "099trailing"), "ABC");
    EXPECT_EQ(decrypt("104" + Packed("A") + "1xx"), "A");
    EXPECT_EQ(decrypt("104" + Packed("A") + "0xx9"), "A");
    EXPECT_EQ(decrypt("140" + std::string(36, '0') + "1065" + "999" + Packed("D")), "AD");
    EXPECT_TRUE(IsCorrupted([&] { decrypt("10510"); }));
    EXPECT_EQ(decrypt("-991"), "") << "4294967197 on Windows: all that is left";
    for (const char* text : {"abc1", "   1", "--11"})
    {
        EXPECT_EQ(MessageOf<std::invalid_argument>([&] { decrypt(text); }), "invalid stoul argument");
    }
}

// In time that grows with the text; plain steps would take days.
TEST(RSACrypt, EndsOnHostileText)
{
    RSACryptKey key = PublicKey;
    RSACryptKey same = Key("1", "0");
    for (const char digit : {'0', '9', '1'})
    {
        const std::string text(300'000, digit);
        for (const unsigned size : {22U, 1000U, 150'000U, 1'000'000U})
        {
            EXPECT_TRUE(IsCorrupted([&] { Rsa::DecryptString(text, key, size); })) << digit << " " << size;
        }
        EXPECT_EQ(IsCorrupted([&] { Rsa::DecryptString(text.substr(2), same, 150'000); }), digit != '1');
    }
    HugeInteger number = Number(std::string(300'000, '9'));
    HugeInteger square = number * number;
    EXPECT_EQ(square.ToString(), std::string(299'999, '9') + "8" + std::string(299'999, '0') + "1");
    EXPECT_TRUE(square / number == number);
}

} // namespace
