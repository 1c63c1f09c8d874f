// Where tokens end.
#pragma once

#include "core/CharacterClass.h"
#include "core/UnitBlock.h"

#include <algorithm>

namespace Quoll::Json
{

[[gnu::noinline]] inline const WChar* SkipRealSpace(const WChar* units, const WChar* end) noexcept
{
    return std::find_if_not(units, end, Utilities::IsSpace);
}

// Behind white space. Most often there is none.
inline const WChar* SkipSpace(const WChar* units, const WChar* end) noexcept
{
    const bool mayBeSpace = units != end && (*units <= ' ' || *units >= 0x80);
    return mayBeSpace ? SkipRealSpace(units, end) : units;
}

// Behind an optional sign and digits.
inline const WChar* SkipInteger(const WChar* units, const WChar* end) noexcept
{
    units += units != end && (*units == '+' || *units == '-') ? 1 : 0;
    while (units != end && Utilities::IsDigit(*units))
    {
        ++units;
    }
    return units;
}

struct IsQuoteOrBackslash
{
    auto operator()(auto units) const noexcept
    {
        return (units == std::uint16_t{'"'}) | (units == std::uint16_t{'\\'});
    }
};

struct QuotedText
{
    const WChar* end; // the closing quote, or null
    bool isEscaped;   // there is a backslash before that
};

// The first double quote that no backslash makes ordinary.
inline QuotedText FindClosingQuote(const WChar* units, const WChar* end) noexcept
{
    bool isEscaped = false;
    for (;;)
    {
        units += Utilities::CountUntil(WStringView(units, end), IsQuoteOrBackslash());
        if (units == end)
        {
            return {nullptr, isEscaped};
        }
        if (*units == '"')
        {
            return {units, isEscaped};
        }
        isEscaped = true;
        if (end - units < 2)
        {
            return {nullptr, isEscaped};
        }
        units += 2; // whatever comes behind a backslash is ordinary
    }
}

} // namespace Quoll::Json
