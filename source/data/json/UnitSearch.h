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

#if defined(__SSE2__)
// Copies the block, and gives its units as bytes. Units that no byte holds become 0 or 255.
inline __m128i CopyAndNarrow(const WChar* units, WChar* to) noexcept
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 8), high);
    return _mm_packus_epi16(low, high);
}
#endif

// One bit for each unit of a block that is a double quote or a backslash; copies the block as well.
inline unsigned CopyBlock(const WChar* units, WChar* to) noexcept
{
#if defined(__SSE2__)
    const __m128i bytes = CopyAndNarrow(units, to);
    const __m128i isQuote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i isBackslash = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(isQuote, isBackslash)));
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
    const __m128i values = _mm_sub_epi8(CopyAndNarrow(units, to), _mm_set1_epi8('0'));
    const __m128i isDigit = _mm_cmpeq_epi8(values, _mm_min_epu8(values, _mm_set1_epi8(9)));
    return static_cast<unsigned>(_mm_movemask_epi8(isDigit)) ^ 0xFFFF;
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
