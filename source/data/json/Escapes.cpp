#include "data/json/Escapes.h"

#include "core/CharacterClass.h"

#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

constexpr std::size_t EncodedDigits = 4;

constexpr unsigned GetDigitValue(WChar digit) noexcept
{
    return IsDigit(digit) ? digit - unsigned{'0'} : ToLowerAscii(digit) - unsigned{'a'} + 10;
}

// What the C runtime's strtoul makes of four units in base 16: white space, a sign and a prefix may
// come first, a negative number wraps around, and anything behind the digits is passed over.
WChar ParseUnit(WStringView units)
{
    while (!units.empty() && IsSpace(units.front()))
    {
        units.remove_prefix(1);
    }
    const bool isNegative = !units.empty() && units.front() == '-';
    if (isNegative || (!units.empty() && units.front() == '+'))
    {
        units.remove_prefix(1);
    }
    if (units.size() > 2 && units[0] == '0' && ToLowerAscii(units[1]) == 'x' && IsHexDigit(units[2]))
    {
        units.remove_prefix(2);
    }
    if (units.empty() || !IsHexDigit(units.front()))
    {
        throw std::invalid_argument("invalid stoul argument");
    }
    unsigned value = 0;
    for (; !units.empty() && IsHexDigit(units.front()); units.remove_prefix(1))
    {
        value = value * 16 + GetDigitValue(units.front());
    }
    return static_cast<WChar>(isNegative ? 0 - value : value);
}

} // namespace

std::size_t Unescape(WStringView text, WChar* to)
{
    WChar* next = to;
    while (true)
    {
        const std::size_t run = CopyUntil(text, next, IsBackslash());
        next += run;
        if (text.size() - run < 2)
        {
            return static_cast<std::size_t>(next - to);
        }
        const WChar letter = text[run + 1];
        text.remove_prefix(run + 2);
        if (const WChar unit = FindMaskedUnit(letter); unit != 0)
        {
            *next++ = unit;
        }
        else if (letter == 'u' && text.size() >= EncodedDigits)
        {
            *next++ = ParseUnit(text.substr(0, EncodedDigits));
            text.remove_prefix(EncodedDigits);
        }
    }
}

} // namespace Quoll::Utilities
