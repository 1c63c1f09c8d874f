// The transcoder's kernel for x86-64 with AVX-512. It takes blocks of 64 bytes, or 32 units, of any kind, if they are
// well-formed; the plain transcoder finds the place of an error, and the narrower kernel takes the rest at the end.
//
// Both ways set the bytes up in lanes and squeeze out what a character doesn't have.
#include "core/utf/Kernels.h"

#if defined(__x86_64__)

#include <array>
#include <bit>
#include <immintrin.h>

// Set for each function, not for the file: what is inline elsewhere must run on every processor.
#define QUOLL_AVX512 gnu::target("avx512bw,avx512vbmi,avx512vbmi2,bmi,bmi2,popcnt")

namespace Quoll::Utf
{

namespace
{

constexpr std::uint64_t EveryByte = ~std::uint64_t{0};
constexpr std::uint64_t EvenBytes = 0x5555555555555555;

[[QUOLL_AVX512, gnu::always_inline]] inline __m512i All16(unsigned value) noexcept
{
    return _mm512_set1_epi16(static_cast<short>(value));
}

[[QUOLL_AVX512, gnu::always_inline]] inline __m512i All32(std::uint32_t value) noexcept
{
    return _mm512_set1_epi32(static_cast<int>(value));
}

[[QUOLL_AVX512, gnu::always_inline]] inline __m512i All8(unsigned value) noexcept
{
    return _mm512_set1_epi8(static_cast<char>(value));
}

[[QUOLL_AVX512, gnu::always_inline]] inline __m512i ByteNumbers() noexcept
{
    alignas(64) static constexpr std::array<std::uint8_t, 64> numbers = [] {
        std::array<std::uint8_t, 64> list{};
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            list[i] = static_cast<std::uint8_t>(i);
        }
        return list;
    }();
    return _mm512_load_si512(numbers.data());
}

// The lowest bits.
[[QUOLL_AVX512, gnu::always_inline]] inline std::uint64_t FirstBytes(std::uint64_t count) noexcept
{
    return _bzhi_u64(EveryByte, static_cast<unsigned>(count));
}

[[QUOLL_AVX512, gnu::always_inline]] inline std::uint32_t FirstUnits(std::uint64_t count) noexcept
{
    return _bzhi_u32(~std::uint32_t{0}, static_cast<unsigned>(count));
}

// Where the units of a block of bytes end and what they are made of. A sequence of four bytes makes two units: the
// first of the pair ends at its third byte.
struct Layout
{
    std::uint64_t ends;
    std::uint64_t continuations;
    std::uint64_t thirds;  // third bytes of sequences
    std::uint64_t fourths; // fourth bytes
    std::size_t taken;     // bytes; a sequence that the block's end cuts is left for the next block
};

// False if a byte is there that mustn't be, or not there that must.
[[QUOLL_AVX512, gnu::always_inline]] inline bool FindLayout(__m512i bytes, Layout& layout) noexcept
{
    const std::uint64_t fromTwo = _mm512_cmpge_epu8_mask(bytes, All8(0xC0));
    const std::uint64_t fromThree = _mm512_cmpge_epu8_mask(bytes, All8(0xE0));
    const std::uint64_t fours = _mm512_cmpge_epu8_mask(bytes, All8(0xF0));
    const std::uint64_t overlong = _mm512_cmpeq_epi8_mask(_mm512_and_si512(bytes, All8(0xFE)), All8(0xC0));
    const std::uint64_t continuations = _mm512_movepi8_mask(bytes) & ~fromTwo;
    const std::uint64_t cut = (fromTwo & EveryByte << 63) | (fromThree & EveryByte << 62) | (fours & EveryByte << 61);
    const std::uint64_t expected = fromTwo << 1 | fromThree << 2 | fours << 3;
    const std::uint64_t checked = cut ^ (cut - 1);                  // with the lead of the sequence that is cut
    layout.taken = static_cast<std::size_t>(std::countr_zero(cut)); // 64 if nothing is cut
    layout.continuations = continuations;
    layout.thirds = fromThree << 2;
    layout.fourths = fours << 3;
    layout.ends = (~(continuations >> 1) | fours << 2) & checked & ~cut;
    return (((expected ^ continuations) | overlong) & checked) == 0;
}

// What belongs to the lanes of 32 units.
struct UnitLanes
{
    __m512i ends; // numbers of the bytes that the units end with
    __mmask32 fromTwo;
    __mmask32 fromThree;
    __mmask32 firsts;  // of pairs
    __mmask32 seconds; // of pairs
};

// False if there are overlong forms, surrogates, or what lies above U+10FFFF.
[[QUOLL_AVX512, gnu::always_inline]] inline bool PutUnits(Unit* out, __m512i bytes, const UnitLanes& lanes) noexcept
{
    const __m512i beforeEnds = _mm512_sub_epi16(_mm512_slli_epi16(lanes.ends, 8), All16(0x100));
    const __m512i last = _mm512_maskz_permutexvar_epi8(EvenBytes, lanes.ends, bytes);
    const __m512i before = _mm512_maskz_permutexvar_epi8(EvenBytes << 1, beforeEnds, bytes);
    const __m512i both = _mm512_add_epi16(last, _mm512_maskz_srli_epi16(lanes.fromTwo, before, 2));
    // What the marks of the bytes add up to goes off again.
    __m512i units = _mm512_mask_sub_epi16(both, lanes.fromTwo, both, All16((0xC0 << 6) + 0x80));
    if ((lanes.fromThree | lanes.seconds) == 0)
    {
        _mm512_storeu_si512(out, units);
        return true;
    }
    const __m512i lead = _mm512_permutexvar_epi8(_mm512_sub_epi16(lanes.ends, All16(2)), bytes);
    const __m512i top = _mm512_add_epi16(_mm512_slli_epi16(lead, 12), All16((0xC0 - 0x80) << 6));
    units = _mm512_mask_add_epi16(units, lanes.fromThree, units, top);
    const __m512i high = _mm512_add_epi16(_mm512_srli_epi16(both, 4), _mm512_slli_epi16(lead, 8));
    units = _mm512_mask_add_epi16(units, lanes.firsts, high, All16(0xD7C0 - 0xF000 - (0x80 << 2) - (0x80 >> 4)));
    const __m512i low = _mm512_or_si512(_mm512_and_si512(units, All16(0x3FF)), All16(0xDC00));
    units = _mm512_mask_mov_epi16(units, lanes.seconds, low);
    _mm512_storeu_si512(out, units);
    const __mmask32 threes = lanes.fromThree & ~lanes.firsts;
    const __m512i kinds = _mm512_and_si512(units, All16(0xF800));
    return (_mm512_mask_testn_epi16_mask(threes, kinds, kinds) |
            _mm512_mask_cmpeq_epi16_mask(threes, kinds, All16(0xD800)) |
            _mm512_mask_cmpneq_epi16_mask(lanes.firsts, _mm512_and_si512(units, All16(0xFC00)), All16(0xD800))) == 0;
}

// False if the block must be taken plainly.
[[QUOLL_AVX512, gnu::always_inline]] inline bool DecodeBlock(DecodeCursor& cursor, __m512i bytes) noexcept
{
    Layout layout;
    if (!FindLayout(bytes, layout))
    {
        return false;
    }
    const int count = std::popcount(layout.ends);
    const __m512i ends = _mm512_maskz_compress_epi8(layout.ends, ByteNumbers());
    const std::uint64_t fromTwo = _pext_u64(layout.continuations, layout.ends);
    const std::uint64_t fromThree = _pext_u64(layout.thirds, layout.ends);
    const std::uint64_t seconds = _pext_u64(layout.fourths, layout.ends);
    const std::uint64_t firsts = seconds >> 1;
    const UnitLanes low{_mm512_cvtepu8_epi16(_mm512_castsi512_si256(ends)), static_cast<__mmask32>(fromTwo),
                        static_cast<__mmask32>(fromThree), static_cast<__mmask32>(firsts),
                        static_cast<__mmask32>(seconds)};
    const UnitLanes high{_mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(ends, 1)),
                         static_cast<__mmask32>(fromTwo >> 32), static_cast<__mmask32>(fromThree >> 32),
                         static_cast<__mmask32>(firsts >> 32), static_cast<__mmask32>(seconds >> 32)};
    if (!PutUnits(cursor.out, bytes, low) || (count > 32 && !PutUnits(cursor.out + 32, bytes, high)))
    {
        return false;
    }
    cursor.in += layout.taken;
    cursor.out += count;
    return true;
}

[[QUOLL_AVX512, gnu::always_inline]] inline void WidenAscii(DecodeCursor& cursor, __m512i bytes) noexcept
{
    _mm512_storeu_si512(cursor.out, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes)));
    _mm512_storeu_si512(cursor.out + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1)));
    cursor.in += 64;
    cursor.out += 64;
}

[[QUOLL_AVX512]] void DecodeBlocks(DecodeCursor& position, Outcome& outcome) noexcept
{
    DecodeCursor cursor = position; // a copy that no store can alias
    while (outcome == Outcome::Complete && cursor.inEnd - cursor.in >= 64 && cursor.outEnd - cursor.out >= 64)
    {
        const __m512i bytes = _mm512_loadu_si512(cursor.in);
        if (_mm512_movepi8_mask(bytes) == 0)
        {
            WidenAscii(cursor, bytes);
        }
        else if (!DecodeBlock(cursor, bytes))
        {
            outcome = DecodePlain(cursor, cursor.in + 16);
        }
    }
    position = cursor;
}

Outcome DecodeAvx512(DecodeCursor& cursor) noexcept
{
    Outcome outcome = Outcome::Complete;
    if (cursor.inEnd - cursor.in >= 64)
    {
        DecodeBlocks(cursor, outcome);
    }
    return outcome == Outcome::Complete ? DecodeSsse3(cursor) : outcome;
}

// What the units of a block are, a bit for each.
struct UnitKinds
{
    __mmask32 belowTwo;   // one byte
    __mmask32 belowThree; // one byte or two
    __mmask32 firsts;     // of pairs: four bytes
    __mmask32 none;       // seconds, and a first that the block's end cuts off
    std::size_t taken;    // units
};

// False if a half of a pair stands alone.
[[QUOLL_AVX512, gnu::always_inline]] inline bool FindKinds(__m512i units, UnitKinds& kinds) noexcept
{
    const __m512i surrogates = _mm512_and_si512(units, All16(0xFC00));
    const __mmask32 firsts = _mm512_cmpeq_epi16_mask(surrogates, All16(0xD800));
    const __mmask32 seconds = _mm512_cmpeq_epi16_mask(surrogates, All16(0xDC00));
    const std::uint32_t cut = firsts >> 31;
    kinds.belowTwo = _mm512_cmplt_epu16_mask(units, All16(0x80));
    kinds.belowThree = _mm512_cmplt_epu16_mask(units, All16(0x800));
    kinds.firsts = firsts & ~(cut << 31);
    kinds.none = seconds | cut << 31;
    kinds.taken = 32 - cut;
    return firsts << 1 == seconds;
}

// The bytes of 16 units, each set up at the end of its lane, and which of them count.
[[QUOLL_AVX512, gnu::always_inline]] inline __m512i ToBytes(__m256i units, __m256i next, UnitKinds kinds,
                                                            std::uint64_t& counted) noexcept
{
    const auto firsts = static_cast<__mmask16>(kinds.firsts);
    const auto belowTwo = static_cast<__mmask16>(kinds.belowTwo);
    __m512i points = _mm512_cvtepu16_epi32(units);
    const __m512i pairs = _mm512_add_epi32(_mm512_slli_epi32(points, 10), _mm512_cvtepu16_epi32(next));
    points = _mm512_mask_sub_epi32(points, firsts, pairs, All32((0xD7C0U << 10) + 0xDC00));
    __m512i marks = _mm512_maskz_mov_epi32(static_cast<__mmask16>(~kinds.none), All32(0x8080E000));
    marks = _mm512_mask_and_epi32(marks, static_cast<__mmask16>(kinds.belowThree), marks, All32(0x80000000));
    marks = _mm512_mask_mov_epi32(marks, static_cast<__mmask16>(kinds.belowThree & ~kinds.belowTwo & ~kinds.none),
                                  All32(0x80C00000));
    marks = _mm512_mask_mov_epi32(marks, firsts, All32(0x808080F0));
    counted = _mm512_test_epi8_mask(marks, marks);
    // Each lane's bytes begin at bits 18, 12, 6 and 0 of its code point.
    const __m512i sixes = _mm512_multishift_epi64_epi8(_mm512_set1_epi64(0x20262C3200060C12), points);
    const __m512i bytes = _mm512_or_si512(_mm512_and_si512(sixes, All8(0x3F)), marks);
    return _mm512_mask_slli_epi32(bytes, belowTwo, points, 24);
}

[[QUOLL_AVX512, gnu::always_inline]] inline void Put(EncodeCursor& cursor, __m512i bytes,
                                                     std::uint64_t counted) noexcept
{
    _mm512_storeu_si512(cursor.out, _mm512_maskz_compress_epi8(counted, bytes));
    cursor.out += std::popcount(counted);
}

// Units below 0x800.
[[QUOLL_AVX512, gnu::always_inline]] inline void EncodeShort(EncodeCursor& cursor, __m512i units) noexcept
{
    const __mmask32 two = _mm512_cmpge_epu16_mask(units, All16(0x80));
    const __m512i tails = _mm512_slli_epi16(_mm512_and_si512(units, All16(0x3F)), 8);
    const __m512i both = _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi16(units, 6), tails), All16(0x80C0));
    Put(cursor, _mm512_mask_mov_epi16(units, two, both), EvenBytes | _pdep_u64(two, EvenBytes << 1));
    cursor.in += 32;
}

// Units of any kind; false if they must be taken plainly.
[[QUOLL_AVX512, gnu::always_inline]] inline bool EncodeLong(EncodeCursor& cursor, __m512i units) noexcept
{
    UnitKinds kinds;
    if (!FindKinds(units, kinds))
    {
        return false;
    }
    const __m512i next = _mm512_loadu_si512(cursor.in + 1);
    std::uint64_t counted;
    const __m512i low = ToBytes(_mm512_castsi512_si256(units), _mm512_castsi512_si256(next), kinds, counted);
    Put(cursor, low, counted);
    kinds.belowTwo >>= 16;
    kinds.belowThree >>= 16;
    kinds.firsts >>= 16;
    kinds.none >>= 16;
    const __m512i high =
        ToBytes(_mm512_extracti64x4_epi64(units, 1), _mm512_extracti64x4_epi64(next, 1), kinds, counted);
    Put(cursor, high, counted);
    cursor.in += kinds.taken;
    return true;
}

[[QUOLL_AVX512, gnu::always_inline]] inline bool EncodeBlock(EncodeCursor& cursor) noexcept
{
    const __m512i units = _mm512_loadu_si512(cursor.in);
    if (_mm512_test_epi16_mask(units, All16(0xFF80)) == 0)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(cursor.out), _mm512_cvtepi16_epi8(units));
        cursor.in += 32;
        cursor.out += 32;
        return true;
    }
    if (_mm512_test_epi16_mask(units, All16(0xF800)) == 0)
    {
        EncodeShort(cursor, units);
        return true;
    }
    return EncodeLong(cursor, units);
}

[[QUOLL_AVX512]] void EncodeBlocks(EncodeCursor& position, Outcome& outcome) noexcept
{
    EncodeCursor cursor = position; // a copy that no store can alias
    // One unit more is read, and two stores of 64 bytes follow each other, the first of which counts 48 at most.
    while (outcome == Outcome::Complete && cursor.inEnd - cursor.in > 32 && cursor.outEnd - cursor.out >= 112)
    {
        if (!EncodeBlock(cursor))
        {
            outcome = EncodePlain(cursor, cursor.in + 8);
        }
    }
    position = cursor;
}

Outcome EncodeAvx512(EncodeCursor& cursor) noexcept
{
    Outcome outcome = Outcome::Complete;
    if (cursor.inEnd - cursor.in > 32)
    {
        EncodeBlocks(cursor, outcome);
    }
    return outcome == Outcome::Complete ? EncodeSsse3(cursor) : outcome;
}

[[QUOLL_AVX512]] std::size_t EstimateDecodeAvx512(const unsigned char* text, std::size_t length) noexcept
{
    std::size_t units = 0;
    for (std::size_t at = 0; at < length; at += 64)
    {
        const std::uint64_t mask = FirstBytes(std::min<std::size_t>(length - at, 64));
        const __m512i bytes = _mm512_maskz_loadu_epi8(mask, text + at);
        const std::uint64_t begins = _mm512_cmpge_epi8_mask(bytes, All8(0xC0)) & mask;
        units += static_cast<std::size_t>(std::popcount(begins)) +
                 static_cast<std::size_t>(std::popcount(_mm512_cmpge_epu8_mask(bytes, All8(0xF0))));
    }
    return units;
}

[[QUOLL_AVX512]] std::size_t EstimateEncodeAvx512(const Unit* wide, std::size_t length) noexcept
{
    std::size_t bytes = length;
    for (std::size_t at = 0; at < length; at += 32)
    {
        const __mmask32 mask = FirstUnits(std::min<std::size_t>(length - at, 32));
        const __m512i units = _mm512_maskz_loadu_epi16(mask, wide + at);
        const __mmask32 surrogates =
            _mm512_cmpeq_epi16_mask(_mm512_and_si512(units, All16(0xF800)), All16(0xD800)); // each makes two bytes
        bytes += static_cast<std::size_t>(std::popcount(_mm512_cmpge_epu16_mask(units, All16(0x80)))) +
                 static_cast<std::size_t>(std::popcount(_mm512_cmpge_epu16_mask(units, All16(0x800)) & ~surrogates));
    }
    return bytes;
}

} // namespace

void AddAvx512Kernel(std::vector<Kernel>& kernels)
{
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi") &&
        __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt"))
    {
        kernels.push_back({"avx512", DecodeAvx512, EncodeAvx512, EstimateDecodeAvx512, EstimateEncodeAvx512});
    }
}

} // namespace Quoll::Utf

#else

namespace Quoll::Utf
{

void AddAvx512Kernel(std::vector<Kernel>&)
{
}

} // namespace Quoll::Utf

#endif
