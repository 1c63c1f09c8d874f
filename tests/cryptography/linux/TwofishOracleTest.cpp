// Blocks of Twofish beside libgcrypt's.
#include "cryptography/TwofishSupport.h"

#include <gtest/gtest.h>

#include <gcrypt.h>

using namespace Quoll;
using Tests::Bytes;
using Tests::EncryptedBlock;

namespace
{

Bytes GcryptBlock(const Bytes& key, const Bytes& block)
{
    Bytes result(block.size());
    gcry_cipher_hd_t cipher = nullptr;
    const int algorithm = key.size() == 16 ? GCRY_CIPHER_TWOFISH128 : GCRY_CIPHER_TWOFISH;
    EXPECT_EQ(gcry_cipher_open(&cipher, algorithm, GCRY_CIPHER_MODE_ECB, 0), 0u);
    EXPECT_EQ(gcry_cipher_setkey(cipher, key.data(), key.size()), 0u);
    EXPECT_EQ(gcry_cipher_encrypt(cipher, result.data(), result.size(), block.data(), block.size()), 0u);
    gcry_cipher_close(cipher);
    return result;
}

} // namespace

// Each bit of the key and of the block alone, and random ones.
TEST(Twofish, BlocksAreThoseOfGcrypt)
{
    ASSERT_NE(gcry_check_version(nullptr), nullptr);
    std::mt19937 engine(1);
    for (const std::size_t size : {16u, 32u})
    {
        for (std::size_t i = 0; i < 1000; ++i)
        {
            Bytes key = i < 8 * size ? Bytes(size) : Tests::RandomBytes(engine, size);
            Bytes block = i < 8 * size ? Bytes(16) : Tests::RandomBytes(engine, 16);
            key[i / 8 % size] ^= static_cast<std::uint8_t>(0x80 >> i % 8);
            ASSERT_EQ(EncryptedBlock(Twofish::Schedule(key), block), GcryptBlock(key, block)) << i;
            block[i / 8 % 16] ^= static_cast<std::uint8_t>(0x80 >> i % 8);
            ASSERT_EQ(EncryptedBlock(Twofish::Schedule(key), block), GcryptBlock(key, block)) << i;
        }
    }
}
