// One-bit feedback with Twofish, 1 MB, beside Crypto++, libgcrypt and Botan.
//
// "encrypt" and "decrypt" are the cipher as a client has it, key of 16 bytes. None of the peers has the mode:
// "cryptopp", "gcrypt" and "botan" make a block for each bit and shift the register, as a user of them would write it.
// For decryption all blocks are known beforehand: "-bulk" peers get them prepared, many in one call, and take the bits
// out of the result. libgcrypt is the fastest in its own feedback mode, which runs blocks side by side: its
// "gcrypt-feedback" gets them that way. "tables" is ours without vectors.
//
// Aims, as ratios: encryption 0.66 of the fastest peer, decryption 1 of the fastest in bulk.
#include "Quoll/AesCipher.h"
#include "Ratios.h"
#include "cryptography/twofish/Kernels.h"

#include <benchmark/benchmark.h>

#include <botan/block_cipher.h>
#include <cryptopp/twofish.h>
#include <gcrypt.h>

#include <cstdlib>
#include <cstring>
#include <random>

namespace
{

using namespace Quoll;
using Bytes = std::vector<std::uint8_t>;
using Block = std::array<std::uint8_t, 16>;

constexpr std::size_t BlocksAtOnce = 4096;

const Bytes Key(16, 0x5A);
const Block Start = {'5', 'A', '5', 'A', '5', 'A', '5', 'A', '5', 'A', '5', 'A', '5', 'A', '5', 'A'};

void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

class Gcrypt
{
public:
    explicit Gcrypt(int mode)
    {
        Require(gcry_check_version(nullptr) != nullptr);
        Require(gcry_cipher_open(&m_cipher, GCRY_CIPHER_TWOFISH128, mode, 0) == 0);
        Require(gcry_cipher_setkey(m_cipher, Key.data(), Key.size()) == 0);
    }
    Gcrypt(const Gcrypt&) = delete;
    Gcrypt& operator=(const Gcrypt&) = delete;
    ~Gcrypt()
    {
        gcry_cipher_close(m_cipher);
    }

    gcry_cipher_hd_t Get() const
    {
        return m_cipher;
    }

private:
    gcry_cipher_hd_t m_cipher = nullptr;
};

void Shift(Block& block, unsigned bit)
{
    std::uint64_t halves[2];
    std::memcpy(halves, block.data(), sizeof(halves));
    const std::uint64_t high = __builtin_bswap64(halves[0]);
    const std::uint64_t low = __builtin_bswap64(halves[1]);
    halves[0] = __builtin_bswap64(high << 1 | low >> 63);
    halves[1] = __builtin_bswap64(low << 1 | bit);
    std::memcpy(block.data(), halves, sizeof(halves));
}

template<bool Encrypts, class Encrypt>
void RunBitByBit(Bytes& data, const Encrypt& encrypt)
{
    Block shifted = Start;
    Block key;
    for (std::uint8_t& byte : data)
    {
        for (unsigned place = 8; place-- > 0;)
        {
            encrypt(shifted, key);
            const unsigned in = byte >> place & 1u;
            const unsigned bit = key[0] >> 7u;
            byte = static_cast<std::uint8_t>(byte ^ bit << place);
            Shift(shifted, Encrypts ? in ^ bit : in);
        }
    }
}

// `encrypt` makes the key stream of all blocks but the first; what it makes of that is passed over.
template<class Encrypt>
void DecryptInBulk(Bytes& data, const Encrypt& encrypt)
{
    static std::vector<Block> blocks(BlocksAtOnce + 1);
    Block shifted = Start;
    for (std::size_t at = 0; at < data.size(); at += BlocksAtOnce / 8)
    {
        for (std::size_t i = 0; i < BlocksAtOnce; ++i)
        {
            blocks[i + 1] = shifted;
            Shift(shifted, data[at + i / 8] >> (7 - i % 8) & 1u);
        }
        encrypt(blocks);
        for (std::size_t i = 0; i < BlocksAtOnce; ++i)
        {
            const unsigned bit = blocks[i + 1][0] >> 7u;
            data[at + i / 8] = static_cast<std::uint8_t>(data[at + i / 8] ^ bit << (7 - i % 8));
        }
    }
}

void DecryptWithFeedback(const Gcrypt& gcrypt, Bytes& data)
{
    // Its feedback mode encrypts the block before and adds the block itself, which is what has to go again.
    static std::vector<Block> inputs;
    DecryptInBulk(data, [&](std::vector<Block>& blocks) {
        inputs.assign(blocks.begin() + 1, blocks.end());
        inputs.emplace_back();
        Require(gcry_cipher_setiv(gcrypt.Get(), Start.data(), Start.size()) == 0);
        Require(gcry_cipher_decrypt(gcrypt.Get(), blocks.data(), blocks.size() * sizeof(Block), inputs.data(),
                                    inputs.size() * sizeof(Block)) == 0);
        for (std::size_t i = 1; i < blocks.size(); ++i)
        {
            blocks[i][0] ^= inputs[i][0];
        }
    });
}

Bytes MakeText()
{
    Bytes text(1 << 20);
    std::mt19937 random(1);
    std::generate(text.begin(), text.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return text;
}

const Bytes Text = MakeText();
const Bytes Encrypted = [] {
    Bytes data = Text;
    Utilities::AesCipher(Key).Encrypt(data);
    return data;
}();

// Whoever gives another result than ours is no peer.
template<class Work>
void Register(const std::string& name, const Bytes& from, const Bytes& to, Work work)
{
    benchmark::RegisterBenchmark(name.c_str(), [&from, &to, work](benchmark::State& state) {
        for (auto _ : state)
        {
            state.PauseTiming();
            Bytes data = from;
            state.ResumeTiming();
            work(data);
            state.PauseTiming();
            Require(data == to);
            state.ResumeTiming();
        }
    });
}

template<class Encrypt>
void RegisterBitByBit(const std::string& who, Encrypt encrypt)
{
    Register("encrypt/" + who, Text, Encrypted, [=](Bytes& data) { RunBitByBit<true>(data, encrypt); });
    Register("decrypt/" + who, Encrypted, Text, [=](Bytes& data) { RunBitByBit<false>(data, encrypt); });
}

} // namespace

int main(int argc, char** argv)
{
    const Utilities::AesCipher ours(Key);
    Register("encrypt/quoll", Text, Encrypted, [&](Bytes& data) { ours.Encrypt(data); });
    Register("decrypt/quoll", Encrypted, Text, [&](Bytes& data) { ours.Decrypt(data); });
    const Twofish::Schedule schedule(Key);
    Register("decrypt/tables", Encrypted, Text,
             [&](Bytes& data) { Twofish::DecryptWithTables(schedule, Start, data); });

    const CryptoPP::Twofish::Encryption cryptopp(Key.data(), Key.size());
    RegisterBitByBit("cryptopp", [&](const Block& in, Block& out) { cryptopp.ProcessBlock(in.data(), out.data()); });
    const auto botan = Botan::BlockCipher::create_or_throw("Twofish");
    botan->set_key(Key.data(), Key.size());
    RegisterBitByBit("botan", [&](const Block& in, Block& out) { botan->encrypt(in.data(), out.data()); });
    const Gcrypt gcrypt(GCRY_CIPHER_MODE_ECB);
    RegisterBitByBit("gcrypt", [&](const Block& in, Block& out) {
        Require(gcry_cipher_encrypt(gcrypt.Get(), out.data(), out.size(), in.data(), in.size()) == 0);
    });

    Register("decrypt/botan-bulk", Encrypted, Text, [&](Bytes& data) {
        DecryptInBulk(data, [&](std::vector<Block>& blocks) {
            botan->encrypt_n(blocks[0].data(), blocks[0].data(), blocks.size());
        });
    });
    Register("decrypt/gcrypt-bulk", Encrypted, Text, [&](Bytes& data) {
        DecryptInBulk(data, [&](std::vector<Block>& blocks) {
            Require(gcry_cipher_encrypt(gcrypt.Get(), blocks.data(), blocks.size() * sizeof(Block), nullptr, 0) == 0);
        });
    });
    const Gcrypt feedback(GCRY_CIPHER_MODE_CFB);
    Register("decrypt/gcrypt-feedback", Encrypted, Text, [&](Bytes& data) { DecryptWithFeedback(feedback, data); });
    return Benchmarks::RunAndCompare(argc, argv);
}
