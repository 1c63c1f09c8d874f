// Twofish for x86-64 with AVX-512 VBMI and GFNI: 64 blocks at a time.
//
// A permutation of bytes through two registers looks up 128 rows, and two of them a whole S-box, for 64 bytes at
// once; products with the constants of the MDS matrix are affine maps. So g works on slices, each of them the bytes
// of one place in the words of all 64 blocks, while sums and rotations work on the words themselves.
#pragma once

#include "cryptography/twofish/Schedule.h"
#include "cryptography/twofish/Tables.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace Quoll::Twofish::Vbmi
{

constexpr std::size_t Distance = 32; // in blocks, from one word of a block to the block that starts with that word

// 64 words, those of 16 blocks in each, or 64 bytes of each of the words' four places.
struct Words
{
    __m512i rows[4];
};
using Slices = Words;

using Indices = std::array<std::uint8_t, 64>;

// For lane after lane: the bytes of one place from four words of the one and the other operand, then those
// of the next place.
constexpr Indices PairIndices(unsigned place) noexcept
{
    Indices indices{};
    for (unsigned i = 0; i < indices.size(); ++i)
    {
        const unsigned word = i / 16 * 4 + i % 4;
        indices[i] = static_cast<std::uint8_t>(i / 4 % 2 * 64 + 4 * word + place + i / 8 % 2);
    }
    return indices;
}

alignas(64) constexpr Indices LowPlaces = PairIndices(0);
alignas(64) constexpr Indices HighPlaces = PairIndices(2);

// In each of eight units of eight bytes, the first four in reverse order.
alignas(64) constexpr Indices WordIndices = [] {
    Indices indices{};
    for (unsigned i = 0; i < 32; ++i)
    {
        indices[i] = static_cast<std::uint8_t>(i / 4 * 8 + 7 - i % 4);
    }
    return indices;
}();

// Products with a constant as the instruction wants them: row i, which makes bit i, is byte 7 - i.
constexpr long long AffineMap(unsigned factor) noexcept
{
    std::uint64_t map = 0;
    for (unsigned bit = 0; bit < 8; ++bit)
    {
        const std::uint64_t product = Product(1u << bit, factor, MdsPolynomial);
        for (unsigned row = 0; row < 8; ++row)
        {
            map |= (product >> row & 1) << (8 * (7 - row) + bit);
        }
    }
    return static_cast<long long>(map);
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i Load(const void* from) noexcept
{
    return _mm512_loadu_si512(from);
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i All(std::uint32_t word) noexcept
{
    return _mm512_set1_epi32(static_cast<int>(word));
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i Xor(__m512i a, __m512i b, __m512i c) noexcept
{
    return _mm512_ternarylogic_epi32(a, b, c, 0x96);
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline Slices Slice(const Words& words) noexcept
{
    const __m512i* const rows = words.rows;
    const __m512i low = Load(LowPlaces.data());
    const __m512i high = Load(HighPlaces.data());
    const __m512i firstLow = _mm512_permutex2var_epi8(rows[0], low, rows[1]);
    const __m512i firstHigh = _mm512_permutex2var_epi8(rows[0], high, rows[1]);
    const __m512i secondLow = _mm512_permutex2var_epi8(rows[2], low, rows[3]);
    const __m512i secondHigh = _mm512_permutex2var_epi8(rows[2], high, rows[3]);
    return {{_mm512_unpacklo_epi64(firstLow, secondLow), _mm512_unpackhi_epi64(firstLow, secondLow),
             _mm512_unpacklo_epi64(firstHigh, secondHigh), _mm512_unpackhi_epi64(firstHigh, secondHigh)}};
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline Words Join(const Slices& slices) noexcept
{
    const __m512i* const rows = slices.rows;
    const __m512i firstLow = _mm512_unpacklo_epi8(rows[0], rows[1]);
    const __m512i firstHigh = _mm512_unpackhi_epi8(rows[0], rows[1]);
    const __m512i secondLow = _mm512_unpacklo_epi8(rows[2], rows[3]);
    const __m512i secondHigh = _mm512_unpackhi_epi8(rows[2], rows[3]);
    return {{_mm512_unpacklo_epi16(firstLow, secondLow), _mm512_unpackhi_epi16(firstLow, secondLow),
             _mm512_unpacklo_epi16(firstHigh, secondHigh), _mm512_unpackhi_epi16(firstHigh, secondHigh)}};
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i LookUp(const std::array<std::uint8_t, 256>& box,
                                                                             __m512i rows) noexcept
{
    const __m512i low = _mm512_permutex2var_epi8(Load(box.data()), rows, Load(box.data() + 64));
    const __m512i high = _mm512_permutex2var_epi8(Load(box.data() + 128), rows, Load(box.data() + 192));
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(rows), low, high);
}

template<unsigned Factor>
[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i Times(__m512i bytes) noexcept
{
    return _mm512_gf2p8affine_epi64_epi8(bytes, _mm512_set1_epi64(AffineMap(Factor)), 0);
}

// The function g of the paper for words that are rotated left by so many bytes.
template<unsigned Rotation>
[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline Words Substituted(const Schedule& schedule,
                                                                                const Slices& slices) noexcept
{
    const __m512i a = LookUp(schedule.boxes[0], slices.rows[(4 - Rotation) % 4]);
    const __m512i b = LookUp(schedule.boxes[1], slices.rows[(5 - Rotation) % 4]);
    const __m512i c = LookUp(schedule.boxes[2], slices.rows[(6 - Rotation) % 4]);
    const __m512i d = LookUp(schedule.boxes[3], slices.rows[(7 - Rotation) % 4]);
    return Join({{Xor(a, Times<0xEF>(b), Times<0x5B>(_mm512_xor_si512(c, d))),
                  Xor(d, Times<0x5B>(a), Times<0xEF>(_mm512_xor_si512(b, c))),
                  Xor(c, Times<0x5B>(b), Times<0xEF>(_mm512_xor_si512(a, d))),
                  Xor(b, Times<0x5B>(d), Times<0xEF>(_mm512_xor_si512(a, c)))}});
}

// The second half of a round, given its two values of g: c and d become the next round's a and b.
[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline void
Join(const Schedule& schedule, unsigned round, __m512i left, __m512i right, __m512i& c, __m512i& d) noexcept
{
    const __m512i sum = _mm512_add_epi32(left, right);
    const __m512i first = _mm512_add_epi32(sum, All(schedule.subkeys[8 + 2 * round]));
    const __m512i second = _mm512_add_epi32(_mm512_add_epi32(sum, right), All(schedule.subkeys[9 + 2 * round]));
    c = _mm512_ror_epi32(_mm512_xor_si512(c, first), 1);
    d = _mm512_xor_si512(_mm512_rol_epi32(d, 1), second);
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline void
Round(const Schedule& schedule, unsigned round, const Words& a, const Words& b, Words& c, Words& d) noexcept
{
    const Words left = Substituted<0>(schedule, Slice(a));
    const Words right = Substituted<1>(schedule, Slice(b));
#pragma GCC unroll 4
    for (unsigned i = 0; i < 4; ++i)
    {
        Join(schedule, round, left.rows[i], right.rows[i], c.rows[i], d.rows[i]);
    }
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline Words Whitened(const std::uint32_t* from,
                                                                             std::uint32_t subkey) noexcept
{
    const __m512i key = All(subkey);
    return {{_mm512_xor_si512(Load(from), key), _mm512_xor_si512(Load(from + 16), key),
             _mm512_xor_si512(Load(from + 32), key), _mm512_xor_si512(Load(from + 48), key)}};
}

// The words that start at each bit of so many bytes, those of a byte in reverse order, so that their blocks' bits
// have the order of the bits of a byte. Reads eight bytes from each byte on, though only five count.
[[gnu::target("avx512vbmi,gfni")]] inline void FindWords(const std::uint8_t* bytes, std::size_t count,
                                                         std::uint32_t* words) noexcept
{
    const __m512i shifts = _mm512_setr_epi64(7, 6, 5, 4, 3, 2, 1, 0);
    for (std::size_t i = 0; i < count; ++i)
    {
        std::uint64_t run = 0;
        std::memcpy(&run, bytes + i, sizeof(run));
        const __m512i all = _mm512_set1_epi64(static_cast<long long>(__builtin_bswap64(run)));
        const __m512i shifted = _mm512_sllv_epi64(all, shifts);
        const __m512i found = _mm512_permutexvar_epi8(Load(WordIndices.data()), shifted);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(words + 8 * i), _mm512_castsi512_si256(found));
    }
}

} // namespace Quoll::Twofish::Vbmi
