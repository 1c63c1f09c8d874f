// The transcoder's kernel for x86-64 with SSSE3. It takes a block of up to 32 bytes, or units, if it
// is of a kind it knows and well-formed; the plain transcoder takes the others, the rest at the end, and
// all errors.
#include "core/utf/Kernels.h"

#if defined(__x86_64__)

#include "core/utf/Shuffles.h"

#include <bit>
#include <immintrin.h>

namespace Quoll::Utf
{

namespace
{

constexpr std::array<DecodeShuffle, 256> DecodeShuffles = MakeDecodeShuffles();
constexpr std::array<EncodeShuffle, 256> ShortEncodeShuffles = MakeShortEncodeShuffles();
constexpr std::array<EncodeShuffle, 256> LongEncodeShuffles = MakeLongEncodeShuffles();

// What a block may read and write beyond what it takes.
constexpr std::ptrdiff_t DecodeBlockBytes = 32;
constexpr std::ptrdiff_t DecodeBlockUnits = 24;
constexpr std::ptrdiff_t EncodeBlockUnits = 8;
constexpr std::ptrdiff_t EncodeBlockBytes = 32;

[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline __m128i Load(const void* from) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void Store(void* to, __m128i value) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline __m128i All(int value) noexcept
{
    return _mm_set1_epi16(static_cast<short>(value));
}

// Whether the masked lanes all, or the mask of those that, equal the value.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline __m128i Equals(__m128i lanes, int mask, int value) noexcept
{
    return _mm_cmpeq_epi16(_mm_and_si128(lanes, All(mask)), All(value));
}

[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline unsigned Mask(__m128i bytes) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline unsigned Continuations(__m128i bytes) noexcept
{
    return Mask(_mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x40)));
}

// Eight sequences of three bytes each, of which `high` holds those from the eighth byte on.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool DecodeThrees(DecodeCursor& cursor, __m128i low,
                                                                             __m128i high) noexcept
{
    const __m128i tails = _mm_or_si128(
        _mm_shuffle_epi8(low, _mm_setr_epi8(2, 1, 5, 4, 8, 7, 11, 10, 14, 13, -1, -1, -1, -1, -1, -1)),
        _mm_shuffle_epi8(high, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 9, 8, 12, 11, 15, 14)));
    const __m128i leads = _mm_or_si128(
        _mm_shuffle_epi8(low, _mm_setr_epi8(0, -1, 3, -1, 6, -1, 9, -1, 12, -1, -1, -1, -1, -1, -1, -1)),
        _mm_shuffle_epi8(high, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 7, -1, 10, -1, 13, -1)));
    const __m128i units = _mm_or_si128(
        _mm_or_si128(_mm_and_si128(tails, All(0x3F)), _mm_srli_epi16(_mm_and_si128(tails, All(0x3F00)), 2)),
        _mm_slli_epi16(leads, 12));
    const __m128i wrong = _mm_or_si128(Equals(units, 0xF800, 0), Equals(units, 0xF800, 0xD800));
    if (Mask(_mm_andnot_si128(wrong, Equals(leads, 0xF0, 0xE0))) != 0xFFFF)
    {
        return false;
    }
    Store(cursor.out, units);
    cursor.in += 24;
    cursor.out += 8;
    return true;
}

// Four sequences of four bytes each.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool DecodeFours(DecodeCursor& cursor,
                                                                            __m128i bytes) noexcept
{
    const __m128i swapped =
        _mm_shuffle_epi8(bytes, _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
    const __m128i low = _mm_or_si128(_mm_and_si128(swapped, _mm_set1_epi32(0x3F)),
                                     _mm_srli_epi32(_mm_and_si128(swapped, _mm_set1_epi32(0x3F00)), 2));
    const __m128i high = _mm_or_si128(_mm_srli_epi32(_mm_and_si128(swapped, _mm_set1_epi32(0x3F0000)), 4),
                                      _mm_srli_epi32(_mm_and_si128(swapped, _mm_set1_epi32(0x7000000)), 6));
    const __m128i offset = _mm_sub_epi32(_mm_or_si128(low, high), _mm_set1_epi32(0x10000));
    // The lead's first bits are 11110, and the offset from U+10000 has 20 bits.
    const __m128i lead = _mm_and_si128(swapped, _mm_set1_epi32(static_cast<int>(0xF8000000)));
    const __m128i known = _mm_cmpeq_epi32(lead, _mm_set1_epi32(static_cast<int>(0xF0000000)));
    const __m128i fits = _mm_cmpeq_epi32(_mm_srli_epi32(offset, 20), _mm_setzero_si128());
    if (Mask(_mm_and_si128(known, fits)) != 0xFFFF)
    {
        return false;
    }
    const __m128i pairs =
        _mm_or_si128(_mm_srli_epi32(offset, 10), _mm_slli_epi32(_mm_and_si128(offset, _mm_set1_epi32(0x3FF)), 16));
    Store(cursor.out, _mm_or_si128(pairs, _mm_set1_epi32(static_cast<int>(0xDC00D800))));
    cursor.in += 16;
    cursor.out += 8;
    return true;
}

// Eight lanes of one or two bytes each.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool DecodeShortLanes(__m128i tails, Unit* out) noexcept
{
    const __m128i twos = _mm_andnot_si128(Equals(tails, 0x1E00, 0), Equals(tails, 0xE0C0, 0xC080));
    Store(out, _mm_or_si128(_mm_and_si128(tails, All(0x7F)), _mm_srli_epi16(_mm_and_si128(tails, All(0x1F00)), 2)));
    return Mask(_mm_or_si128(Equals(tails, 0xFF80, 0), twos)) == 0xFFFF;
}

// The same for up to three bytes each.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool DecodeMixedLanes(__m128i tails, __m128i leads,
                                                                                 Unit* out) noexcept
{
    const __m128i middle = _mm_srli_epi16(_mm_and_si128(tails, All(0x1F00)), 2);
    const __m128i top = _mm_srli_epi16(_mm_and_si128(tails, All(0x2000)), 2);
    const __m128i three = Equals(leads, 0xF0, 0xE0);
    const __m128i units = _mm_or_si128(_mm_or_si128(_mm_and_si128(tails, All(0x7F)), middle),
                                       _mm_or_si128(_mm_and_si128(top, three), _mm_slli_epi16(leads, 12)));
    const __m128i noLead = Equals(leads, 0xFF, 0);
    const __m128i twos = _mm_andnot_si128(Equals(tails, 0x1E00, 0), Equals(tails, 0xE0C0, 0xC080));
    const __m128i shortOnes = _mm_and_si128(noLead, _mm_or_si128(Equals(tails, 0xFF80, 0), twos));
    const __m128i wrong = _mm_or_si128(Equals(units, 0xF800, 0), Equals(units, 0xF800, 0xD800));
    const __m128i threes = _mm_andnot_si128(wrong, _mm_and_si128(three, Equals(tails, 0xC0C0, 0x8080)));
    Store(out, units);
    return Mask(_mm_or_si128(shortOnes, threes)) == 0xFFFF;
}

// Three times the sequences that end within the next eight bytes, as far as they are short enough and
// well-formed; false if not even the first are. Bit i of `ends`: a sequence ends at byte i.
template<bool OnlyShort>
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool DecodeWindows(DecodeCursor& cursor,
                                                                              std::uint32_t ends) noexcept
{
    const unsigned char* const begin = cursor.in;
    for (int window = 0; window < 3; ++window)
    {
        const unsigned key = (ends >> (cursor.in - begin)) & 0xFF;
        const DecodeShuffle& shuffle = DecodeShuffles[key];
        const __m128i bytes = Load(cursor.in);
        const __m128i tails = _mm_shuffle_epi8(bytes, Load(shuffle.tails.data()));
        const bool taken =
            OnlyShort ? DecodeShortLanes(tails, cursor.out)
                      : DecodeMixedLanes(tails, _mm_shuffle_epi8(bytes, Load(shuffle.leads.data())), cursor.out);
        // Counted in this way because finding the last bit takes long on some processors.
        const unsigned consumed = (key & 0x80) != 0 ? 8 : (key & 0x40) != 0 ? 7 : 6;
        if (!taken || (key >> (consumed - 1)) == 0)
        {
            break;
        }
        cursor.in += consumed;
        cursor.out += std::popcount(key);
    }
    return cursor.in != begin;
}

// One block that doesn't begin with 16 bytes of ASCII; false if it must be taken plainly.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool DecodeBlock(DecodeCursor& cursor, __m128i low,
                                                                            __m128i high) noexcept
{
    const unsigned first = Continuations(low);
    const std::uint32_t continuations = first | Continuations(high) << 16;
    const __m128i most = _mm_max_epu8(low, high);
    if (Mask(_mm_cmpeq_epi8(_mm_max_epu8(most, _mm_set1_epi8(-0x20)), most)) == 0) // none from 0xE0 on
    {
        return DecodeWindows<true>(cursor, ~(continuations >> 1));
    }
    if (first == 0xEEEE)
    {
        return DecodeFours(cursor, low);
    }
    if ((continuations & 0xFFFFFF) == 0xDB6DB6)
    {
        return DecodeThrees(cursor, low, Load(cursor.in + 8));
    }
    return DecodeWindows<false>(cursor, ~(continuations >> 1));
}

[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void WidenAscii(Unit* out, __m128i bytes) noexcept
{
    Store(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    Store(out + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

} // namespace

[[gnu::target("ssse3,popcnt")]] Outcome DecodeSsse3(DecodeCursor& position) noexcept
{
    DecodeCursor cursor = position; // a copy that no store can alias
    while (cursor.inEnd - cursor.in >= DecodeBlockBytes && cursor.outEnd - cursor.out >= DecodeBlockUnits)
    {
        const __m128i low = Load(cursor.in);
        if (Mask(low) == 0)
        {
            WidenAscii(cursor.out, low);
            cursor.in += 16;
            cursor.out += 16;
        }
        else if (!DecodeBlock(cursor, low, Load(cursor.in + 16)))
        {
            const Outcome outcome = DecodePlain(cursor, cursor.in + 16);
            if (outcome != Outcome::Complete)
            {
                position = cursor;
                return outcome;
            }
        }
    }
    const Outcome outcome = DecodePlain(cursor, cursor.inEnd);
    position = cursor;
    return outcome;
}

namespace
{

// Eight units below 0x800.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void EncodeShort(EncodeCursor& cursor, __m128i units,
                                                                            __m128i ascii) noexcept
{
    const __m128i leads = _mm_or_si128(_mm_srli_epi16(units, 6), All(0xC0));
    const __m128i tails = _mm_slli_epi16(_mm_or_si128(_mm_and_si128(units, All(0x3F)), All(0x80)), 8);
    const __m128i both = _mm_or_si128(leads, tails);
    const __m128i bytes = _mm_or_si128(_mm_and_si128(ascii, units), _mm_andnot_si128(ascii, both));
    const EncodeShuffle& shuffle = ShortEncodeShuffles[Mask(_mm_packs_epi16(ascii, ascii)) & 0xFF];
    Store(cursor.out, _mm_shuffle_epi8(bytes, Load(shuffle.bytes.data())));
    cursor.out += shuffle.length;
    cursor.in += 8;
}

// Four units, none of a pair, that came as 32-bit lanes with the masks for their lengths.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void EncodeFour(EncodeCursor& cursor, __m128i units,
                                                                           __m128i ascii, unsigned mask) noexcept
{
    const __m128i six = _mm_set1_epi32(0x3F);
    const __m128i last = _mm_or_si128(_mm_and_si128(units, six), _mm_set1_epi32(0x80));
    const __m128i third = _mm_or_si128(_mm_and_si128(ascii, units), _mm_andnot_si128(ascii, last));
    const __m128i first = _mm_or_si128(_mm_srli_epi32(units, 12), _mm_set1_epi32(0xE0));
    const __m128i isThree = _mm_cmpgt_epi32(units, _mm_set1_epi32(0x7FF));
    // Below 0x800 the second byte is the lead of two.
    const __m128i second =
        _mm_or_si128(_mm_and_si128(_mm_srli_epi32(units, 6), six),
                     _mm_sub_epi32(_mm_set1_epi32(0xC0), _mm_and_si128(isThree, _mm_set1_epi32(0x40))));
    const __m128i bytes = _mm_or_si128(first, _mm_or_si128(_mm_slli_epi32(second, 8), _mm_slli_epi32(third, 16)));
    const EncodeShuffle& shuffle = LongEncodeShuffles[mask];
    Store(cursor.out, _mm_shuffle_epi8(bytes, Load(shuffle.bytes.data())));
    cursor.out += shuffle.length;
    cursor.in += 4;
}

[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline void EncodeLong(EncodeCursor& cursor, __m128i units,
                                                                           __m128i ascii, __m128i belowThree) noexcept
{
    const unsigned more = ~Mask(_mm_packs_epi16(ascii, ascii)) & 0xFF;
    const unsigned threes = ~Mask(_mm_packs_epi16(belowThree, belowThree)) & 0xFF;
    const __m128i zero = _mm_setzero_si128();
    EncodeFour(cursor, _mm_unpacklo_epi16(units, zero), _mm_unpacklo_epi16(ascii, ascii),
               (more & 0xF) | (threes & 0xF) << 4);
    EncodeFour(cursor, _mm_unpackhi_epi16(units, zero), _mm_unpackhi_epi16(ascii, ascii), more >> 4 | (threes & 0xF0));
}

// Four pairs of surrogates.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool EncodePairs(EncodeCursor& cursor,
                                                                            __m128i units) noexcept
{
    const __m128i kinds = _mm_and_si128(units, All(0xFC00));
    if (Mask(_mm_cmpeq_epi32(kinds, _mm_set1_epi32(static_cast<int>(0xDC00D800)))) != 0xFFFF)
    {
        return false;
    }
    const __m128i ten = _mm_set1_epi32(0x3FF);
    const __m128i points = _mm_add_epi32(
        _mm_or_si128(_mm_slli_epi32(_mm_and_si128(units, ten), 10), _mm_and_si128(_mm_srli_epi32(units, 16), ten)),
        _mm_set1_epi32(0x10000));
    const __m128i six = _mm_set1_epi32(0x3F);
    const __m128i front =
        _mm_or_si128(_mm_srli_epi32(points, 18), _mm_slli_epi32(_mm_and_si128(_mm_srli_epi32(points, 12), six), 8));
    const __m128i back = _mm_or_si128(_mm_slli_epi32(_mm_and_si128(_mm_srli_epi32(points, 6), six), 16),
                                      _mm_slli_epi32(_mm_and_si128(points, six), 24));
    Store(cursor.out, _mm_or_si128(_mm_or_si128(front, back), _mm_set1_epi32(static_cast<int>(0x808080F0))));
    cursor.in += 8;
    cursor.out += 16;
    return true;
}

// Eight units that aren't all ASCII; false if they must be taken plainly.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool EncodeBlock(EncodeCursor& cursor,
                                                                            __m128i units) noexcept
{
    const __m128i ascii = Equals(units, 0xFF80, 0);
    const __m128i belowThree = Equals(units, 0xF800, 0);
    if (Mask(belowThree) == 0xFFFF)
    {
        EncodeShort(cursor, units, ascii);
        return true;
    }
    if (Mask(Equals(units, 0xF800, 0xD800)) == 0)
    {
        EncodeLong(cursor, units, ascii, belowThree);
        return true;
    }
    return EncodePairs(cursor, units);
}

// Whether 16 units from here are there and ASCII, and were taken.
[[gnu::target("ssse3,popcnt"), gnu::always_inline]] inline bool EncodeAscii(EncodeCursor& cursor,
                                                                            __m128i units) noexcept
{
    if (cursor.inEnd - cursor.in < 16)
    {
        return false;
    }
    const __m128i next = Load(cursor.in + 8);
    if (Mask(Equals(_mm_or_si128(units, next), 0xFF80, 0)) != 0xFFFF)
    {
        return false;
    }
    Store(cursor.out, _mm_packus_epi16(units, next));
    cursor.in += 16;
    cursor.out += 16;
    return true;
}

} // namespace

[[gnu::target("ssse3,popcnt")]] Outcome EncodeSsse3(EncodeCursor& position) noexcept
{
    EncodeCursor cursor = position; // a copy that no store can alias
    Outcome outcome = Outcome::Complete;
    while (outcome == Outcome::Complete && cursor.inEnd - cursor.in >= EncodeBlockUnits &&
           cursor.outEnd - cursor.out >= EncodeBlockBytes)
    {
        const __m128i units = Load(cursor.in);
        if (!EncodeAscii(cursor, units) && !EncodeBlock(cursor, units))
        {
            outcome = EncodePlain(cursor, cursor.in + 8);
        }
    }
    if (outcome == Outcome::Complete)
    {
        outcome = EncodePlain(cursor, cursor.inEnd);
    }
    position = cursor;
    return outcome;
}

namespace
{

[[gnu::target("ssse3,popcnt")]] std::size_t EstimateDecodeSsse3(const unsigned char* text, std::size_t length) noexcept
{
    std::size_t units = 0;
    std::size_t at = 0;
    for (; length - at >= 16; at += 16)
    {
        const __m128i bytes = Load(text + at);
        const unsigned fours = Mask(_mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8(-0x10)), bytes));
        units += 16 + static_cast<std::size_t>(std::popcount(fours)) -
                 static_cast<std::size_t>(std::popcount(Continuations(bytes)));
    }
    return units + PlainKernel.estimateDecode(text + at, length - at);
}

[[gnu::target("ssse3,popcnt")]] std::size_t EstimateEncodeSsse3(const Unit* wide, std::size_t length) noexcept
{
    std::size_t bytes = 0;
    std::size_t at = 0;
    for (; length - at >= 8; at += 8)
    {
        const __m128i units = Load(wide + at);
        const __m128i atMostTwo = _mm_or_si128(Equals(units, 0xF800, 0), Equals(units, 0xF800, 0xD800));
        const unsigned missing = Mask(_mm_packs_epi16(Equals(units, 0xFF80, 0), atMostTwo));
        bytes += 24 - static_cast<std::size_t>(std::popcount(missing));
    }
    return bytes + PlainKernel.estimateEncode(wide + at, length - at);
}

} // namespace

void AddSsse3Kernel(std::vector<Kernel>& kernels)
{
    if (__builtin_cpu_supports("ssse3") && __builtin_cpu_supports("popcnt"))
    {
        kernels.push_back({"ssse3", DecodeSsse3, EncodeSsse3, EstimateDecodeSsse3, EstimateEncodeSsse3});
    }
}

} // namespace Quoll::Utf

#else

namespace Quoll::Utf
{

void AddSsse3Kernel(std::vector<Kernel>&)
{
}

} // namespace Quoll::Utf

#endif
