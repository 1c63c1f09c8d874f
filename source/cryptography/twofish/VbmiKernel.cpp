// The one-bit mode for x86-64 with AVX-512 VBMI, VBMI2 and GFNI.
//
// Decryption makes the blocks of eight bytes at once. Encryption knows three of the four words of its blocks two bytes
// ahead: it does their first round that way, and the rest by table look-ups, for each bit waits for the one before.
#include "cryptography/twofish/Kernels.h"

#if defined(__x86_64__)

#include "cryptography/twofish/PairEncryptor.h"
#include "cryptography/twofish/VbmiRow.h"

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

constexpr std::size_t BlocksAhead = 16; // those of two bytes

// Opens the blocks from the one of this window on, as far as their first three words go: b still lacks what the fourth
// adds, and the right sum is missing.
[[gnu::target("avx512vbmi,avx512vbmi2,gfni")]] void OpenAhead(const Schedule& schedule, const Window& window,
                                                              std::size_t place, Openings& openings) noexcept
{
    const std::array<std::uint32_t, 4> words = window.Words();
    const __m512i a = WordsAt(words[0], words[1], schedule.subkeys[0]);
    const __m512i b = WordsAt(words[1], words[2], schedule.subkeys[1]);
    __m512i c = WordsAt(words[2], words[3], schedule.subkeys[2]);
    __m512i d = All(0);
    Round(schedule, 0, a, b, c, d);
    _mm512_storeu_si512(&openings.a[place], c);
    _mm512_storeu_si512(&openings.b[place], d);
    _mm512_storeu_si512(&openings.c[place], a);
    _mm512_storeu_si512(&openings.d[place], b);
    _mm512_storeu_si512(&openings.left[place], Substituted(schedule, c, c).left);
}

void EncryptWithVbmi(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept
{
    Openings openings;
    OpenAhead(schedule, Window::Of(start), 0, openings);
    const auto open = [&](const Window& known, std::size_t place) {
        const std::uint32_t fourth = __builtin_bswap32(known.Words()[3]) ^ schedule.subkeys[3];
        openings.b[place] ^= std::rotl(fourth, 1);
        openings.right[place] = RightSum(schedule, openings.b[place]);
    };
    PairEncryptor encryptor(schedule, start, openings, open);
    std::size_t place = BlocksAhead;
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        if (i % 2 == 0)
        {
            OpenAhead(schedule, encryptor.Last().After(BlocksAhead), place, openings);
            place = (place + BlocksAhead) % Openings::Size;
        }
        data[i] = encryptor.Encrypt(data[i]);
    }
}

} // namespace

const Kernel* VbmiKernel() noexcept
{
    static constexpr Kernel kernel = {"vbmi", EncryptWithVbmi, DecryptWithVbmi};
    const bool runs =
        __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("gfni");
    return runs ? &kernel : nullptr;
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
