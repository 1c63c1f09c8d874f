// A wildcard text, taken apart.
#pragma once

#include "core/CharacterClass.h"

#include <vector>

namespace Quoll::Utilities::Wildcard
{

// The lower-case form of a unit above 127.
WChar FoldWide(WChar unit) noexcept;

inline WChar Fold(WChar unit) noexcept
{
    return unit < 0x80 ? ToLowerAscii(unit) : FoldWide(unit);
}

// What stands for one unit, or for several equal ones.
struct Element
{
    WChar unit = 0; // folded
    WChar mask = 0; // of the folded units compared: none for `?`
    bool repeats = false;
    bool empty = false; // stands for nothing; parts a repeated line end from the star behind it
    bool afterStar = false;

    bool IsLiteral() const noexcept
    {
        return mask != 0;
    }
    // Line ends, which `?` doesn't stand for, are the caller's matter.
    bool Fits(WChar other) const noexcept
    {
        return (Fold(other) & mask) == unit;
    }
};

struct Pattern
{
    std::vector<Element> elements;
    bool endsWithStar = false;
    bool hasRepeats = false;
    bool hasLineEnds = false; // so that texts with line ends may match
};

/// @throws std::regex_error  (error_badrepeat)
Pattern Parse(WStringView text);

} // namespace Quoll::Utilities::Wildcard
