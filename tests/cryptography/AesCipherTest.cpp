#include "Quoll/AesCipher.h"

#include "cryptography/TwofishSupport.h"
#include "support/MessageOf.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <thread>

using namespace Quoll::Tests;
using Quoll::Utilities::AesCipher;

namespace
{

Bytes Encrypted(const AesCipher& cipher, Bytes data)
{
    cipher.Encrypt(data);
    return data;
}

Bytes Decrypted(const AesCipher& cipher, Bytes data)
{
    cipher.Decrypt(data);
    return data;
}

// What a key of these bytes and this text makes of the data.
Bytes Expected(const Bytes& key, std::string text, Bytes data)
{
    Quoll::Twofish::Register start{};
    text.resize(std::min(text.size(), start.size()));
    std::copy(text.begin(), text.end(), start.begin());
    Quoll::Twofish::Kernels().front().encrypt(Quoll::Twofish::Schedule(key), start, data);
    return data;
}

Bytes CountedBytes(std::size_t size)
{
    Bytes bytes;
    for (std::size_t i = 1; i <= size; ++i)
    {
        bytes.push_back(static_cast<std::uint8_t>(0xA0 + i));
    }
    return bytes;
}

const Bytes Data = CountedBytes(37);
const Bytes DefaultKey = {0xC7, 0xD1, 0x9E, 0x40, 0xB2, 0xA6, 0x58, 0x3F, 0x01, 0xE4};

std::string FailureOf(const Bytes& key)
{
    return MessageOf<std::invalid_argument>([&] { AesCipher{key}; });
}

} // namespace

TEST(AesCipher, KeysOfOtherSizesAreRefused)
{
    for (std::size_t size = 0; size <= 144; ++size)
    {
        const char* const expected = size % 16 != 0 ? "Key size should be modulo 16."
                                     : size > 32    ? "Key size should be 16."
                                                    : "nothing is thrown";
        EXPECT_EQ(FailureOf(CountedBytes(size)), expected) << size;
    }
}

TEST(AesCipher, AKeyEndsAtItsFirstZero)
{
    for (const std::size_t size : {16u, 32u, 48u, 64u})
    {
        for (std::size_t length = 1; length < size; ++length)
        {
            Bytes key = CountedBytes(size);
            key[length] = 0;
            if (length > 32)
            {
                EXPECT_EQ(FailureOf(key), "Key size should be 16.") << length;
                continue;
            }
            const AesCipher cipher(key);
            const Bytes expected =
                Expected(CountedBytes(length), std::string("A1A2A3A4A5A6A7A8").substr(0, 2 * length), Data);
            ASSERT_EQ(Encrypted(cipher, Data), expected) << length;
            ASSERT_EQ(Decrypted(cipher, expected), Data) << length;
        }
    }
}

TEST(AesCipher, NoKeyIsTheDefaultKey)
{
    const Bytes expected = Expected(DefaultKey, "C7D19E40B2A6583F01E4", Data);
    EXPECT_EQ(Encrypted(AesCipher(Bytes()), Data), expected);
    Bytes zeroFirst = CountedBytes(48);
    zeroFirst[0] = 0;
    EXPECT_EQ(Encrypted(AesCipher(zeroFirst), Data), expected);
}

// Results as they were when this was written, by single blocks of another library: they must never change.
TEST(AesCipher, TheFormatStays)
{
    Bytes text = {'T', 'h', 'e', ' ', 'f', 'o', 'r', 'm', 'a', 't'};
    EXPECT_EQ(Encrypted(AesCipher(Bytes()), text), (Bytes{0xA8, 0xF2, 0x29, 0xBB, 0x1F, 0x89, 0xB0, 0xDE, 0x96, 0x95}));
    EXPECT_EQ(Encrypted(AesCipher(CountedBytes(16)), text),
              (Bytes{0xAD, 0xAF, 0xD4, 0xE1, 0xFB, 0xBA, 0x7B, 0x0D, 0xF0, 0xD1}));
    EXPECT_EQ(Encrypted(AesCipher(CountedBytes(32)), text),
              (Bytes{0xA8, 0x97, 0xD2, 0xA5, 0x5E, 0xE3, 0x8F, 0x66, 0xC0, 0xF0}));
}

TEST(AesCipher, EveryLengthComesBack)
{
    std::mt19937 engine(1);
    for (const std::size_t keySize : {0u, 16u, 32u})
    {
        const AesCipher cipher(CountedBytes(keySize));
        for (std::size_t size = 0; size < 70; ++size)
        {
            const Bytes data = RandomBytes(engine, size);
            const Bytes encrypted = Encrypted(cipher, data);
            EXPECT_EQ(encrypted.size(), size);
            EXPECT_EQ(Encrypted(cipher, data), encrypted);
            EXPECT_EQ(Decrypted(cipher, encrypted), data);
        }
    }
}

TEST(AesCipher, CopiesMayGoInAnyOrder)
{
    std::optional<AesCipher> first(CountedBytes(16));
    const Bytes expected = Encrypted(*first, Data);
    AesCipher second(*first);
    AesCipher third((Bytes()));
    third = second;
    const AesCipher& self = third;
    third = self;
    const AesCipher moved(std::move(second));
    first.reset();
    second = AesCipher(CountedBytes(32));
    EXPECT_EQ(Encrypted(second, Data), Encrypted(AesCipher(CountedBytes(32)), Data));
    EXPECT_EQ(Encrypted(third, Data), expected);
    EXPECT_EQ(Encrypted(moved, Data), expected);
}

TEST(AesCipher, ThreadsMayShareOne)
{
    const AesCipher cipher(CountedBytes(32));
    const Bytes expected = Encrypted(cipher, Data);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back([&, copy = cipher] {
            for (int round = 0; round < 50; ++round)
            {
                EXPECT_EQ(Encrypted(copy, Data), expected);
                EXPECT_EQ(Decrypted(cipher, expected), Data);
            }
        });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}
