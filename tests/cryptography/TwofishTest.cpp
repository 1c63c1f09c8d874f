#include "cryptography/TwofishSupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace Quoll;
using Tests::Bytes;
using Tests::EncryptedBlock;
using Twofish::Schedule;

namespace
{

std::string Hex(const Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        text += {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
    }
    return text;
}

// The mode once more, on a text of bits and by single blocks.
Bytes Expected(const Schedule& schedule, const Twofish::Register& start, const Bytes& data, bool encrypts)
{
    const auto bitsOf = [](const auto& bytes) {
        std::string bits;
        for (std::size_t i = 0; i < 8 * bytes.size(); ++i)
        {
            bits += (bytes[i / 8] << i % 8 & 0x80) != 0 ? '1' : '0';
        }
        return bits;
    };
    const auto bytesOf = [](const std::string& bits) {
        Bytes bytes;
        for (std::size_t i = 0; i < bits.size(); i += 8)
        {
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(bits.substr(i, 8), nullptr, 2)));
        }
        return bytes;
    };
    std::string text = bitsOf(start);
    std::string result;
    for (const char bit : bitsOf(data))
    {
        const bool key = EncryptedBlock(schedule, bytesOf(text.substr(text.size() - 128)))[0] >= 0x80;
        result += (bit == '1') != key ? '1' : '0';
        text += encrypts ? result.back() : bit;
    }
    return bytesOf(result);
}

} // namespace

// The iterated table of the paper: each block is encrypted under a key made of the text before it and the key
// before it.
TEST(Twofish, ThePublishedChain)
{
    const struct
    {
        std::size_t keySize;
        const char* first;
        const char* last;
    } rows[] = {{16, "9F589F5CF6122C32B6BFEC2F2AE8C35A", "5D9D4EEFFA9151575524F115815A12E0"},
                {24, "EFA71F788965BD4453F860178FC19101", "E75449212BEEF9F4A390BD860A640941"},
                {32, "57FF739D4DC92C1BD7FC01700CC8216F", "37FE26FF1CF66175F5DDF4C33B97A205"}};
    for (const auto& row : rows)
    {
        Bytes key(row.keySize);
        Bytes text(16);
        for (int i = 1; i <= 49; ++i)
        {
            const Bytes result = EncryptedBlock(Schedule(key), text);
            key.insert(key.begin(), text.begin(), text.end());
            key.resize(row.keySize);
            text = result;
            EXPECT_TRUE(i > 1 || Hex(text) == row.first) << Hex(text);
        }
        EXPECT_EQ(Hex(text), row.last);
    }
}

// The first rows of the tables with one bit set in the key or the text, and of the chain of 10,000 blocks.
TEST(Twofish, ThePublishedAnswers)
{
    Bytes bit(16);
    bit[0] = 0x80;
    EXPECT_EQ(Hex(EncryptedBlock(Schedule(bit), Bytes(16))), "6BFD32804A1C3206C4BF85EB11241F89");
    EXPECT_EQ(Hex(EncryptedBlock(Schedule(Bytes(16)), bit)), "73B9FF14CF2589901FF52A0D6F4B7EDE");
    Bytes chain(16);
    const Schedule schedule{Bytes(16)};
    for (int i = 0; i < 10000; ++i)
    {
        chain = EncryptedBlock(schedule, chain);
    }
    EXPECT_EQ(Hex(chain), "282BE7E4FA1FBDC29661286F1F310B7E");
}

TEST(Twofish, ShortKeysHaveZerosBehind)
{
    std::mt19937 engine(1);
    const Bytes text = Tests::RandomBytes(engine, 16);
    for (std::size_t size = 9; size <= 32; ++size)
    {
        const Bytes key = Tests::RandomBytes(engine, size);
        Bytes whole = key;
        whole.resize((size + 7) / 8 * 8);
        EXPECT_EQ(EncryptedBlock(Schedule(key), text), EncryptedBlock(Schedule(whole), text)) << size;
    }
    EXPECT_EQ(Schedule(Bytes(8)).rounds, 0u);
}

TEST(Twofish, AllKernelsRunTheModeBitByBit)
{
    std::mt19937 engine(2);
    for (std::size_t size = 0; size < 80; ++size)
    {
        const std::size_t keySizes[] = {16, 24, 32};
        const Schedule schedule(Tests::RandomBytes(engine, keySizes[size % 3]));
        Twofish::Register start{};
        std::generate(start.begin(), start.end(), [&] { return static_cast<std::uint8_t>(engine()); });
        const Bytes data = Tests::RandomBytes(engine, size);
        const Bytes encrypted = Expected(schedule, start, data, true);
        const Bytes decrypted = Expected(schedule, start, data, false);
        for (const Twofish::Kernel& kernel : Twofish::Kernels())
        {
            // Unaligned, in a buffer of exactly the size.
            Bytes buffer(size + size % 7);
            const std::span<std::uint8_t> place = std::span(buffer).last(size);
            const auto resultOf = [&](auto* run) {
                std::copy(data.begin(), data.end(), place.begin());
                run(schedule, start, place);
                return Bytes(place.begin(), place.end());
            };
            EXPECT_EQ(resultOf(kernel.encrypt), encrypted) << kernel.name << size;
            EXPECT_EQ(resultOf(kernel.decrypt), decrypted) << kernel.name << size;
        }
    }
}
