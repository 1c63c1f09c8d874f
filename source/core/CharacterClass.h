// Character classes, alike on both targets and whatever the locale.
#pragma once

#include "Quoll/WideString.h"

#include <algorithm>
#include <iterator>

namespace Quoll::Utilities
{

struct UnitRange
{
    WChar first;
    WChar last;
};

constexpr UnitRange DigitRanges[] = {{'0', '9'}};
constexpr UnitRange HexDigitRanges[] = {{'0', '9'}, {'A', 'F'}, {'a', 'f'}};
// White space of the basic plane.
constexpr UnitRange SpaceRanges[] = {{0x09, 0x0D},     {0x20, 0x20},     {0x85, 0x85},     {0xA0, 0xA0},
                                     {0x1680, 0x1680}, {0x2000, 0x200A}, {0x2028, 0x2029}, {0x202F, 0x202F},
                                     {0x205F, 0x205F}, {0x3000, 0x3000}};

template<std::size_t Count>
constexpr bool IsInRanges(WChar unit, const UnitRange (&ranges)[Count]) noexcept
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [unit](const UnitRange& range) { return unit >= range.first && unit <= range.last; });
}

constexpr bool IsDigit(WChar unit) noexcept
{
    return IsInRanges(unit, DigitRanges);
}

constexpr bool IsHexDigit(WChar unit) noexcept
{
    return IsInRanges(unit, HexDigitRanges);
}

constexpr bool IsSpace(WChar unit) noexcept
{
    return IsInRanges(unit, SpaceRanges);
}

constexpr WChar ToLowerAscii(WChar unit) noexcept
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<WChar>(unit + ('a' - 'A')) : unit;
}

} // namespace Quoll::Utilities
