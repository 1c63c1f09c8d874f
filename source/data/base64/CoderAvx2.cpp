// The Base64 coder's kernel for x86-64 with AVX2: blocks of 24 bytes and 32 units. The plain coder takes the
// groups in which white space stands, the rest at the end, and all that is refused.
#include "data/base64/Kernels.h"

#if defined(__x86_64__)

#include "data/base64/VectorTables.h"

#include <bit>
#include <immintrin.h>

namespace Quoll::Base64Coder
{

namespace
{

constexpr std::ptrdiff_t BlockBytes = 24;
constexpr std::ptrdiff_t BlockUnits = 32;
// What a block may read or write.
constexpr std::ptrdiff_t EncodeReach = 28;
constexpr std::ptrdiff_t DecodeReach = 32;

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i Load(const void* from) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m128i LoadHalf(const void* from) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

[[gnu::target("avx2"), gnu::always_inline]] inline void Store(void* to, __m256i value) noexcept
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), value);
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i All(int byte) noexcept
{
    return _mm256_set1_epi8(static_cast<char>(byte));
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i LookUp(const Table& table, __m256i rows) noexcept
{
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(LoadHalf(table.data())), rows);
}

[[gnu::target("avx2"), gnu::always_inline]] inline void StoreUnits(char* to, __m256i units) noexcept
{
    Store(to, units);
}

[[gnu::target("avx2"), gnu::always_inline]] inline void StoreUnits(WChar* to, __m256i units) noexcept
{
    Store(to, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(units)));
    Store(to + 16, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(units, 1)));
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i LoadUnits(const char* from) noexcept
{
    return Load(from);
}

// Units above 255 become 0 or 255, neither of which is of the alphabet.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256i LoadUnits(const WChar* from) noexcept
{
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(Load(from), Load(from + 16)), 0xD8);
}

// The 32 values of 24 bytes.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256i Spread(const unsigned char* from) noexcept
{
    const __m256i bytes = _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(from)), LoadHalf(from + 12), 1);
    // Each three bytes a, b, c become two lanes of 16 bits, ab and bc.
    const __m256i lanes = _mm256_shuffle_epi8(
        bytes, _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10)));
    // The values one and three are shifted right by 10 and 6, two and four left by 4 and 8.
    const __m256i odd =
        _mm256_mulhi_epu16(_mm256_and_si256(lanes, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
    const __m256i even =
        _mm256_mullo_epi16(_mm256_and_si256(lanes, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
    return _mm256_or_si256(odd, even);
}

// Row 0 for values from 26 to 51, 1 to 12 for those above, 13 for those below.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256i RowsOf(__m256i values) noexcept
{
    const __m256i low = _mm256_and_si256(_mm256_cmpgt_epi8(All(26), values), All(13));
    return _mm256_or_si256(_mm256_subs_epu8(values, All(51)), low);
}

template<class Unit>
[[gnu::target("avx2")]] void EncodeAvx2(EncodeCursor<Unit>& cursor) noexcept
{
    const unsigned char* in = cursor.in; // copies that no store can alias
    Unit* out = cursor.out;
    while (cursor.inEnd - in >= EncodeReach)
    {
        const __m256i values = Spread(in);
        StoreUnits(out, _mm256_add_epi8(values, LookUp(UnitOffsets, RowsOf(values))));
        in += BlockBytes;
        out += BlockUnits;
    }
    cursor.in = in;
    cursor.out = out;
    EncodePlain(cursor);
}

// The 24 bytes of 32 values, in the vector's first 24.
[[gnu::target("avx2"), gnu::always_inline]] inline __m256i Join(__m256i values) noexcept
{
    const __m256i twelves = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(twelves, _mm256_set1_epi32(0x00011000));
    const __m256i bytes = _mm256_shuffle_epi8(
        groups, _mm256_broadcastsi128_si256(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1)));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}

// A bit for each of 32 units that is of the alphabet.
[[gnu::target("avx2"), gnu::always_inline]] inline std::uint32_t Known(__m256i units, __m256i high) noexcept
{
    const __m256i low = _mm256_and_si256(units, All(15));
    const __m256i wrong = _mm256_and_si256(LookUp(WrongHighBits, low), LookUp(HighBits, high));
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(wrong, _mm256_setzero_si256())));
}

template<class Unit>
[[gnu::target("avx2")]] Outcome DecodeAvx2(DecodeCursor<Unit>& cursor) noexcept
{
    const Unit* in = cursor.in; // copies that no store can alias
    unsigned char* out = cursor.out;
    BreakDecoder<Unit> breaks;
    while (cursor.inEnd - in >= BlockUnits && cursor.outEnd - out >= DecodeReach)
    {
        const __m256i units = LoadUnits(in);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi16(units, 4), All(15));
        const __m256i slash = _mm256_cmpeq_epi8(units, All('/'));
        const __m256i offsets = LookUp(ValueOffsets, _mm256_add_epi8(high, slash));
        Store(out, Join(_mm256_add_epi8(units, offsets)));
        const std::uint32_t known = Known(units, high);
        if (known == 0xFFFFFFFF)
        {
            in += BlockUnits;
            out += BlockBytes;
            breaks.BlockWasFull();
            continue;
        }
        // Whole groups in front of the first unit that isn't of the alphabet are good as they are.
        const std::ptrdiff_t groups = std::countr_one(known) / 4;
        DecodeCursor<Unit> apart{in + 4 * groups, cursor.inEnd, out + 3 * groups, cursor.outEnd};
        const Outcome outcome = breaks.Decode(apart, groups);
        if (outcome != Outcome::Complete)
        {
            cursor = apart;
            return outcome;
        }
        in = apart.in;
        out = apart.out;
    }
    cursor.in = in;
    cursor.out = out;
    return DecodePlain(cursor, cursor.inEnd);
}

} // namespace

void AddAvx2Kernel(std::vector<Kernel>& kernels)
{
    if (__builtin_cpu_supports("avx2"))
    {
        kernels.push_back({"avx2", EncodeAvx2<char>, EncodeAvx2<WChar>, DecodeAvx2<char>, DecodeAvx2<WChar>});
    }
}

} // namespace Quoll::Base64Coder

#else

namespace Quoll::Base64Coder
{

void AddAvx2Kernel(std::vector<Kernel>&)
{
}

} // namespace Quoll::Base64Coder

#endif
