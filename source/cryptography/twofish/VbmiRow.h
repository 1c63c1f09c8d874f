// Twofish for x86-64 with AVX-512 VBMI, VBMI2 and GFNI: 16 blocks at a time, one vector for each of their words.
//
// The two values of g that a round wants are made at once, from bytes of the one and the other word side by side. That
// takes a third of the instructions that as many blocks share of 64.
#pragma once

#include "cryptography/twofish/VbmiWords.h"

namespace Quoll::Twofish::Vbmi
{

struct Pair
{
    __m512i left;
    __m512i right;
};

// For each of a vector's four lanes alike.
[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i InEachLane(int a, int b, int c, int d) noexcept
{
    return _mm512_broadcast_i32x4(_mm_setr_epi32(a, b, c, d));
}

// The words at 16 places of a stream, each a bit behind the other, of which the first starts with `word`.
[[gnu::target("avx512vbmi,avx512vbmi2,gfni"), gnu::always_inline]] inline __m512i
WordsAt(std::uint32_t word, std::uint32_t following, std::uint32_t subkey) noexcept
{
    const __m512i bits = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const __m512i words = _mm512_shldv_epi32(All(word), All(following), bits);
    const __m512i swapped = _mm512_shuffle_epi8(words, InEachLane(0x00010203, 0x04050607, 0x08090A0B, 0x0C0D0E0F));
    return _mm512_xor_si512(swapped, All(subkey));
}

// Products of the even units of eight bytes with one constant and of the odd ones with the other.
template<unsigned Even, unsigned Odd>
[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i TimesPair(__m512i bytes) noexcept
{
    alignas(64) static constexpr long long maps[8] = {AffineMap(Even), AffineMap(Odd), AffineMap(Even), AffineMap(Odd),
                                                      AffineMap(Even), AffineMap(Odd), AffineMap(Even), AffineMap(Odd)};
    return _mm512_gf2p8affine_epi64_epi8(bytes, Load(maps), 0);
}

// Two rows of the product of the MDS matrix, one in the even units and one in the odd ones.
template<unsigned Even, unsigned Odd>
[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline __m512i RowPair(__m512i a, __m512i b, __m512i c,
                                                                              __m512i d) noexcept
{
    const __m512i sum = Xor(TimesPair<Mds[Even][0], Mds[Odd][0]>(a), TimesPair<Mds[Even][1], Mds[Odd][1]>(b),
                            TimesPair<Mds[Even][2], Mds[Odd][2]>(c));
    return _mm512_xor_si512(sum, TimesPair<Mds[Even][3], Mds[Odd][3]>(d));
}

// The function g of the paper, for a and for b rotated left by a byte.
[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline Pair Substituted(const Schedule& schedule, __m512i a,
                                                                               __m512i b) noexcept
{
    const __m512i first = _mm512_shuffle_epi8(a, InEachLane(0x0C080400, 0x0D090501, 0x0E0A0602, 0x0F0B0703));
    const __m512i second = _mm512_shuffle_epi8(b, InEachLane(0x0F0B0703, 0x0C080400, 0x0D090501, 0x0E0A0602));
    const __m512i low = _mm512_unpacklo_epi32(first, second); // the bytes of two places, in units of eight
    const __m512i high = _mm512_unpackhi_epi32(first, second);
    const __m512i boxes[] = {LookUp(schedule.boxes[0], low), LookUp(schedule.boxes[1], low),
                             LookUp(schedule.boxes[2], high), LookUp(schedule.boxes[3], high)};
    const __m512i w = _mm512_unpacklo_epi64(boxes[0], boxes[0]);
    const __m512i x = _mm512_unpackhi_epi64(boxes[1], boxes[1]);
    const __m512i y = _mm512_unpacklo_epi64(boxes[2], boxes[2]);
    const __m512i z = _mm512_unpackhi_epi64(boxes[3], boxes[3]);
    const __m512i even = RowPair<0, 2>(w, x, y, z);
    const __m512i odd = RowPair<1, 3>(w, x, y, z);
    const __m512i lowRows = _mm512_unpacklo_epi8(even, odd);
    const __m512i highRows = _mm512_unpackhi_epi8(even, odd);
    return {_mm512_unpacklo_epi16(lowRows, highRows), _mm512_unpackhi_epi16(lowRows, highRows)};
}

[[gnu::target("avx512vbmi,gfni"), gnu::always_inline]] inline void
Round(const Schedule& schedule, unsigned round, __m512i a, __m512i b, __m512i& c, __m512i& d) noexcept
{
    const Pair g = Substituted(schedule, a, b);
    Join(schedule, round, g.left, g.right, c, d);
}

} // namespace Quoll::Twofish::Vbmi
