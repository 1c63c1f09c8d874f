// The escapes of strings in JSON documents: a backslash and a letter, or `\u` and four digits.
#pragma once

#include "core/UnitBlock.h"

#include <array>

namespace Quoll::Utilities
{

// The units that are escaped with a letter, and their letters.
constexpr WChar MaskedUnits[] = {'\\', '"', '\r', '\n', '\f', '\t', '\b', '/'};
constexpr WChar MaskLetters[] = {'\\', '"', 'r', 'n', 'f', 't', 'b', '/'};
constexpr std::size_t MaskCount = 8;

// Units below are control characters here. It isn't 0x20.
constexpr WChar FirstPrintingUnit = 20;

// How long the escape of a unit gets at most.
constexpr std::size_t LongestEscape = 6;

// For each of the first units a letter: the one that its escape has, `u` of a control character's
// escape, or NUL if it isn't escaped.
constexpr std::size_t EscapeTableSize = '\\' + 1;
constexpr std::array<char, EscapeTableSize> EscapeTable = [] {
    std::array<char, EscapeTableSize> table{};
    std::fill_n(table.begin(), FirstPrintingUnit, 'u');
    for (std::size_t i = 0; i < MaskCount; ++i)
    {
        table[MaskedUnits[i]] = static_cast<char>(MaskLetters[i]);
    }
    return table;
}();

constexpr char GetEscapeLetter(WChar unit) noexcept
{
    return unit < EscapeTableSize ? EscapeTable[unit] : '\0';
}

// The unit that is escaped with the letter, or NUL.
constexpr WChar FindMaskedUnit(WChar letter) noexcept
{
    constexpr std::array<char, 'u'> units = [] {
        std::array<char, 'u'> table{};
        for (std::size_t i = 0; i < MaskCount; ++i)
        {
            table[MaskLetters[i]] = static_cast<char>(MaskedUnits[i]);
        }
        return table;
    }();
    return letter < units.size() ? static_cast<WChar>(units[letter]) : WChar{0};
}

constexpr bool IsMasked(WChar unit) noexcept
{
    const char letter = GetEscapeLetter(unit);
    return letter != '\0' && letter != 'u';
}

// Stops at the units that have an escape with a letter.
struct IsMaskedUnit
{
    auto operator()(auto units) const noexcept
    {
        const auto inRow =
            (units >= std::uint16_t{'\b'}) & (units <= std::uint16_t{'\r'}) & (units != std::uint16_t{0x0B});
        return inRow | (units == std::uint16_t{'"'}) | (units == std::uint16_t{'/'}) | (units == std::uint16_t{'\\'});
    }
};

// Stops at these and at the control characters.
struct HasEscape
{
    auto operator()(auto units) const noexcept
    {
        return (units < std::uint16_t{FirstPrintingUnit}) | (units == std::uint16_t{'"'}) |
               (units == std::uint16_t{'/'}) | (units == std::uint16_t{'\\'});
    }
};

// A bit for each unit of two blocks that has an escape.
inline unsigned FindEscapes(UnitBlock low, UnitBlock high) noexcept
{
#if defined(__SSE2__)
    // As bytes: what is beyond 255 has none.
    const __m128i most = _mm_set1_epi16(255);
    const auto lowUnits = std::bit_cast<__m128i>(low);
    const auto highUnits = std::bit_cast<__m128i>(high);
    const __m128i bytes = _mm_packus_epi16(_mm_sub_epi16(lowUnits, _mm_subs_epu16(lowUnits, most)),
                                           _mm_sub_epi16(highUnits, _mm_subs_epu16(highUnits, most)));
    const __m128i isControl = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(FirstPrintingUnit - 1)), bytes);
    const __m128i isQuote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i isSlash = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('/'));
    const __m128i isBackslash = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    const __m128i isFound = _mm_or_si128(_mm_or_si128(isControl, isQuote), _mm_or_si128(isSlash, isBackslash));
    return static_cast<unsigned>(_mm_movemask_epi8(isFound));
#else
    return GetMask(HasEscape()(low), HasEscape()(high));
#endif
}

// Writes the six units for a control character, and answers where they end. The lower digit goes on
// behind 9 with what stands there in ASCII.
inline WChar* WriteControlEscape(WChar unit, WChar* to) noexcept
{
    *to++ = '\\';
    *to++ = 'u';
    *to++ = '0';
    *to++ = '0';
    *to++ = static_cast<WChar>('0' + ((unit >> 4) & 0x0F));
    *to++ = static_cast<WChar>('0' + (unit & 0x0F));
    return to;
}

// Writes the escape of a unit that has one, and answers where it ends.
inline WChar* WriteEscape(WChar unit, WChar* to) noexcept
{
    const char letter = EscapeTable[unit];
    if (letter == 'u')
    {
        return WriteControlEscape(unit, to);
    }
    *to++ = '\\';
    *to++ = static_cast<WChar>(letter);
    return to;
}

// Undoes the escapes. Writes at most as many units as the text has, which must not overlap with it, and
// answers how many they became. Throws std::invalid_argument, "invalid stoul argument", if what
// follows `\u` isn't a number.
std::size_t Unescape(WStringView text, WChar* to);

} // namespace Quoll::Utilities
