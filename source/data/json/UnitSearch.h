// Copies blocks of a document, and tells where the strings and numbers in them end.
#pragma once

#include "core/CharacterClass.h"

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Quoll::Json
{

// How many units are looked at together.
constexpr std::ptrdiff_t BlockSize = 16;

// One bit for each unit of a block that is a double quote or a backslash; copies the block as well.
inline unsigned CopyBlock(const WChar* units, WChar* to) noexcept
{
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi16('"');
    const __m128i backslash = _mm_set1_epi16('\\');
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 8), high);
    const __m128i inLow = _mm_or_si128(_mm_cmpeq_epi16(low, quote), _mm_cmpeq_epi16(low, backslash));
    const __m128i inHigh = _mm_or_si128(_mm_cmpeq_epi16(high, quote), _mm_cmpeq_epi16(high, backslash));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(inLow, inHigh)));
#else
    unsigned found = 0;
    for (std::ptrdiff_t i = 0; i < BlockSize; ++i)
    {
        to[i] = units[i];
        found |= (units[i] == '"' || units[i] == '\\' ? 1u : 0u) << i;
    }
    return found;
#endif
}

// One bit for each unit of a block that is no digit; copies the block as well.
inline unsigned CopyDigits(const WChar* units, WChar* to) noexcept
{
#if defined(__SSE2__)
    const __m128i zero = _mm_set1_epi16('0');
    const __m128i nine = _mm_set1_epi16(9);
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 8), high);
    // What is left beyond nine is nothing for digits.
    const __m128i restOfLow = _mm_subs_epu16(_mm_sub_epi16(low, zero), nine);
    const __m128i restOfHigh = _mm_subs_epu16(_mm_sub_epi16(high, zero), nine);
    const __m128i none = _mm_setzero_si128();
    const __m128i isDigit = _mm_packs_epi16(_mm_cmpeq_epi16(restOfLow, none), _mm_cmpeq_epi16(restOfHigh, none));
    return ~static_cast<unsigned>(_mm_movemask_epi8(isDigit)) & 0xFFFF;
#else
    unsigned found = 0;
    for (std::ptrdiff_t i = 0; i < BlockSize; ++i)
    {
        to[i] = units[i];
        found |= (Utilities::IsDigit(units[i]) ? 0u : 1u) << i;
    }
    return found;
#endif
}

} // namespace Quoll::Json
