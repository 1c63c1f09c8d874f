// The Base64 coder's kernel for x86-64 with SSSE3: blocks of 12 bytes and 16 units. The plain coder takes the
// groups in which white space stands, the rest at the end, and all that is refused.
#include "data/base64/Kernels.h"

#if defined(__x86_64__)

#include "data/base64/VectorTables.h"

#include <bit>
#include <tmmintrin.h>

namespace Quoll::Base64Coder
{

namespace
{

constexpr std::ptrdiff_t BlockBytes = 12;
constexpr std::ptrdiff_t BlockUnits = 16;
// What a block may read or write.
constexpr std::ptrdiff_t EncodeReach = 16;
constexpr std::ptrdiff_t DecodeReach = 16;

[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i Load(const void* from) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

[[gnu::target("ssse3"), gnu::always_inline]] inline void Store(void* to, __m128i value) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i All(int byte) noexcept
{
    return _mm_set1_epi8(static_cast<char>(byte));
}

[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i LookUp(const Table& table, __m128i rows) noexcept
{
    return _mm_shuffle_epi8(Load(table.data()), rows);
}

[[gnu::target("ssse3"), gnu::always_inline]] inline void StoreUnits(char* to, __m128i units) noexcept
{
    Store(to, units);
}

[[gnu::target("ssse3"), gnu::always_inline]] inline void StoreUnits(WChar* to, __m128i units) noexcept
{
    Store(to, _mm_unpacklo_epi8(units, _mm_setzero_si128()));
    Store(to + 8, _mm_unpackhi_epi8(units, _mm_setzero_si128()));
}

[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i LoadUnits(const char* from) noexcept
{
    return Load(from);
}

// Units above 255 become 0 or 255, neither of which is of the alphabet.
[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i LoadUnits(const WChar* from) noexcept
{
    return _mm_packus_epi16(Load(from), Load(from + 8));
}

// The 16 values of 12 bytes.
[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i Spread(const unsigned char* from) noexcept
{
    // Each three bytes a, b, c become two lanes of 16 bits, ab and bc.
    const __m128i lanes =
        _mm_shuffle_epi8(Load(from), _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    // The values one and three are shifted right by 10 and 6, two and four left by 4 and 8.
    const __m128i odd = _mm_mulhi_epu16(_mm_and_si128(lanes, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
    const __m128i even = _mm_mullo_epi16(_mm_and_si128(lanes, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
    return _mm_or_si128(odd, even);
}

// Row 0 for values from 26 to 51, 1 to 12 for those above, 13 for those below.
[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i RowsOf(__m128i values) noexcept
{
    const __m128i low = _mm_and_si128(_mm_cmpgt_epi8(All(26), values), All(13));
    return _mm_or_si128(_mm_subs_epu8(values, All(51)), low);
}

template<class Unit>
[[gnu::target("ssse3")]] void EncodeSsse3(EncodeCursor<Unit>& cursor) noexcept
{
    const unsigned char* in = cursor.in; // copies that no store can alias
    Unit* out = cursor.out;
    while (cursor.inEnd - in >= EncodeReach)
    {
        const __m128i values = Spread(in);
        StoreUnits(out, _mm_add_epi8(values, LookUp(UnitOffsets, RowsOf(values))));
        in += BlockBytes;
        out += BlockUnits;
    }
    cursor.in = in;
    cursor.out = out;
    EncodePlain(cursor);
}

// The 12 bytes of 16 values, in the vector's first 12.
[[gnu::target("ssse3"), gnu::always_inline]] inline __m128i Join(__m128i values) noexcept
{
    const __m128i twelves = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i groups = _mm_madd_epi16(twelves, _mm_set1_epi32(0x00011000));
    return _mm_shuffle_epi8(groups, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
}

// A bit for each of 16 units that is of the alphabet.
[[gnu::target("ssse3"), gnu::always_inline]] inline std::uint32_t Known(__m128i units, __m128i high) noexcept
{
    const __m128i low = _mm_and_si128(units, All(15));
    const __m128i wrong = _mm_and_si128(LookUp(WrongHighBits, low), LookUp(HighBits, high));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(wrong, _mm_setzero_si128())));
}

template<class Unit>
[[gnu::target("ssse3")]] Outcome DecodeSsse3(DecodeCursor<Unit>& cursor) noexcept
{
    const Unit* in = cursor.in; // copies that no store can alias
    unsigned char* out = cursor.out;
    BreakDecoder<Unit> breaks;
    while (cursor.inEnd - in >= BlockUnits && cursor.outEnd - out >= DecodeReach)
    {
        const __m128i units = LoadUnits(in);
        const __m128i high = _mm_and_si128(_mm_srli_epi16(units, 4), All(15));
        const __m128i slash = _mm_cmpeq_epi8(units, All('/'));
        const __m128i offsets = LookUp(ValueOffsets, _mm_add_epi8(high, slash));
        Store(out, Join(_mm_add_epi8(units, offsets)));
        const std::uint32_t known = Known(units, high);
        if (known == 0xFFFF)
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

void AddSsse3Kernel(std::vector<Kernel>& kernels)
{
    if (__builtin_cpu_supports("ssse3"))
    {
        kernels.push_back({"ssse3", EncodeSsse3<char>, EncodeSsse3<WChar>, DecodeSsse3<char>, DecodeSsse3<WChar>});
    }
}

} // namespace Quoll::Base64Coder

#else

namespace Quoll::Base64Coder
{

void AddSsse3Kernel(std::vector<Kernel>&)
{
}

} // namespace Quoll::Base64Coder

#endif
