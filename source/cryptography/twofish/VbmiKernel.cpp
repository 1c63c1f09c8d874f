// The one-bit mode for x86-64 with AVX-512 VBMI and GFNI.
//
// Decryption makes the blocks of eight bytes at once. Encryption knows three of the four words of its blocks four bytes
// ahead: it does their first round that way, and the rest by table look-ups, for each bit waits for the one before.
#include "cryptography/twofish/Kernels.h"

#if defined(__x86_64__)

#include "cryptography/twofish/Lanes.h"
#include "cryptography/twofish/VbmiWords.h"

#include <algorithm>

namespace Quoll::Twofish
{

namespace
{

using namespace Vbmi;

constexpr std::size_t KnownBytes = 12; // of the 16 before a block, those that whole words of the block start in

// The first bits of 64 blocks, of which `words` holds the first words.
[[gnu::target("avx512vbmi,gfni")]] std::uint64_t KeyBits(const Schedule& schedule, const std::uint32_t* words) noexcept
{
    const std::array<std::uint32_t, 40>& subkeys = schedule.subkeys;
    Words a = Whitened(words, subkeys[0]);
    Words b = Whitened(words + Distance, subkeys[1]);
    Words c = Whitened(words + 2 * Distance, subkeys[2]);
    Words d = Whitened(words + 3 * Distance, subkeys[3]);
    for (unsigned round = 0; round < LastRound; round += 2)
    {
        Round(schedule, round, a, b, c, d);
        Round(schedule, round + 1, c, d, a, b);
    }
    const Words left = Substituted<0>(schedule, Slice(a));
    const Words right = Substituted<1>(schedule, Slice(b));
    const __m512i key = All(subkeys[8 + 2 * LastRound]);
    const __m512i whitening = All(std::rotl(subkeys[4], 1));
    std::uint64_t bits = 0;
#pragma GCC unroll 4
    for (unsigned i = 0; i < 4; ++i)
    {
        const __m512i sum = _mm512_add_epi32(_mm512_add_epi32(left.rows[i], right.rows[i]), key);
        // Bit 8 becomes bit 7 by the round's rotation.
        const __mmask16 set = _mm512_test_epi32_mask(Xor(c.rows[i], sum, whitening), All(0x100));
        bits |= std::uint64_t{set} << 16 * i;
    }
    return bits;
}

void DecryptWithVbmi(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    constexpr std::size_t BytesAtOnce = 8;
    constexpr std::size_t BlocksAtOnce = 8 * BytesAtOnce;
    std::array<std::uint32_t, 3 * Distance + BlocksAtOnce> words; // that start in those bytes and in the next eight
    std::array<std::uint8_t, 32> bytes{};
    std::copy(start.begin(), start.end(), bytes.begin());
    FindWords(bytes.data(), KnownBytes, words.data());
    std::copy(start.begin() + KnownBytes, start.end(), bytes.begin());

    for (std::size_t at = 0; at < data.size(); at += BytesAtOnce)
    {
        const std::size_t count = std::min(BytesAtOnce, data.size() - at);
        std::memcpy(bytes.data() + 4, data.data() + at, count);
        FindWords(bytes.data(), BytesAtOnce, words.data() + 8 * KnownBytes);
        std::uint64_t text = 0;
        std::memcpy(&text, bytes.data() + 4, sizeof(text));
        text ^= KeyBits(schedule, words.data());
        std::memcpy(data.data() + at, &text, count);
        std::copy(words.begin() + BlocksAtOnce, words.end(), words.begin());
        std::copy_n(bytes.begin() + BytesAtOnce, 4, bytes.begin());
    }
}

// Of the 32 blocks of four bytes, what does not depend on those bytes: all of an opening, but d without the fourth
// word.
struct Ahead
{
    std::array<std::uint32_t, 32> a;
    std::array<std::uint32_t, 32> b;
    std::array<std::uint32_t, 32> c;
    std::array<std::uint32_t, 32> d;
    std::array<std::uint32_t, 32> left;
};

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline void Store(const Words& words,
                                                                         std::array<std::uint32_t, 32>& to) noexcept
{
    _mm512_storeu_si512(to.data(), words.rows[0]);
    _mm512_storeu_si512(to.data() + 16, words.rows[1]);
}

// `bytes` are the 16 before. The upper 32 of the 64 blocks are made for nothing.
[[gnu::target("avx512vbmi,gfni")]] void OpenAhead(const Schedule& schedule, const std::uint8_t* bytes,
                                                  Ahead& ahead) noexcept
{
    std::array<std::uint32_t, 2 * Distance + 64> words{};
    FindWords(bytes, KnownBytes, words.data());
    const Words a = Whitened(words.data(), schedule.subkeys[0]);
    const Words b = Whitened(words.data() + Distance, schedule.subkeys[1]);
    Words c = Whitened(words.data() + 2 * Distance, schedule.subkeys[2]);
    Words d{};
    Round(schedule, 0, a, b, c, d);
    Store(a, ahead.a);
    Store(b, ahead.b);
    Store(c, ahead.c);
    Store(d, ahead.d);
    Store(Substituted<0>(schedule, Slice(c)), ahead.left);
}

// The openings of one of the four bytes, of which the ones before it are the last of `fourth`.
void Open(const Schedule& schedule, const Ahead& ahead, std::size_t byte, std::uint32_t fourth,
          Openings& openings) noexcept
{
    for (unsigned bit = 0; bit < openings.size(); ++bit)
    {
        const std::size_t i = 8 * byte + 7 - bit; // the order of FindWords
        const std::uint32_t word = __builtin_bswap32(fourth << bit) ^ schedule.subkeys[3];
        const std::uint32_t b = std::rotl(word, 1) ^ ahead.d[i];
        openings[bit] = {ahead.c[i], b, ahead.a[i], ahead.b[i], ahead.left[i], RightSum(schedule, b)};
    }
}

void EncryptWithVbmi(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    std::array<std::uint8_t, 32> bytes{};
    std::copy(start.begin(), start.end(), bytes.begin());
    Ahead ahead;
    Openings openings;
    while (!data.empty())
    {
        OpenAhead(schedule, bytes.data(), ahead);
        std::uint32_t fourth = __builtin_bswap32(LoadWord(bytes.data() + KnownBytes));
        const std::size_t count = std::min(sizeof(fourth), data.size());
        for (std::size_t i = 0; i < count; ++i)
        {
            Open(schedule, ahead, i, fourth, openings);
            data[i] = EncryptByte(schedule, openings, data[i]);
            fourth = fourth << 8 | data[i];
        }
        std::copy_n(bytes.begin() + 4, KnownBytes, bytes.begin());
        std::copy_n(data.begin(), count, bytes.begin() + KnownBytes);
        data = data.subspan(count);
    }
}

} // namespace

const Kernel* VbmiKernel() noexcept
{
    static constexpr Kernel kernel = {"vbmi", EncryptWithVbmi, DecryptWithVbmi};
    return __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("gfni") ? &kernel : nullptr;
}

} // namespace Quoll::Twofish

#else

namespace Quoll::Twofish
{

const Kernel* VbmiKernel() noexcept
{
    return nullptr;
}

} // namespace Quoll::Twofish

#endif
