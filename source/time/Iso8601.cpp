#include "time/Iso8601.h"

#include "core/CharacterClass.h"
#include "core/regex/Program.h"

#include <cstdint>

namespace Quoll::Utilities
{

namespace
{

using States = std::uint32_t;

// A bit for each place that the text so far may have led to, as the dots make several possible. From most
// places one kind of unit leads to the next one.
constexpr States Date = 1u << 0; // behind a date
constexpr States Time = 1u << 1; // before a time
constexpr States TimeColons = Time << 2 | Time << 5;
constexpr States TimeDigits = Time << 0 | Time << 1 | Time << 3 | Time << 4 | Time << 6 | Time << 7;
constexpr States TimeEnd = Time << 8;
constexpr States Fraction = TimeEnd << 1; // before the digits of a fraction
constexpr States FractionDigits = Fraction << 0 | Fraction << 1 | Fraction << 2;
constexpr States FractionEnd = Fraction << 3;
constexpr States Zone = FractionEnd << 1; // before the digits of an offset
constexpr States ZoneDigits = Zone << 0 | Zone << 1 | Zone << 3 | Zone << 4;
constexpr States ZoneDot = Zone << 2;
constexpr States ZoneEnd = Zone << 5;

constexpr States Digits = TimeDigits | FractionDigits | ZoneDigits;
constexpr States BeforeFraction = TimeEnd | FractionEnd;
constexpr States BeforeTime = Date | BeforeFraction;
constexpr States BeforeZone = BeforeTime | ZoneEnd;

// Where the unit leads to from all places.
States Step(States states, WChar unit, bool canHaveTimes) noexcept
{
    States next = IsDigit(unit) ? (states & Digits) << 1 : 0;
    if (!Regex::IsLineEnd(unit))
    {
        next |= (states & ZoneDot) << 1;
        next |= (states & BeforeFraction) != 0 ? Fraction : 0;
    }
    switch (unit)
    {
    case ':':
        return next | (states & TimeColons) << 1;
    case ' ':
    case ',':
    case 'T':
        return next | (canHaveTimes && (states & BeforeTime) != 0 ? Time : 0);
    case '+':
    case '-':
        return next | ((states & BeforeZone) != 0 ? Zone : 0);
    case 'Z':
        return next | ((states & BeforeZone) != 0 ? ZoneEnd : 0);
    default:
        return next;
    }
}

bool Matches(WStringView text, States states, bool canHaveTimes) noexcept
{
    for (std::size_t i = 0; i < text.size() && states != 0; ++i)
    {
        states = Step(states, text[i], canHaveTimes);
    }
    return (states & BeforeZone) != 0;
}

bool TakeDigits(WStringView& text, std::size_t count) noexcept
{
    bool areDigits = text.size() >= count;
    for (std::size_t i = 0; areDigits && i < count; ++i)
    {
        areDigits = IsDigit(text[i]);
    }
    text.remove_prefix(areDigits ? count : 0);
    return areDigits;
}

void SkipDash(WStringView& text) noexcept
{
    text.remove_prefix(text.starts_with(WChar{'-'}) ? 1 : 0);
}

bool TakeDate(WStringView& text) noexcept
{
    if (!TakeDigits(text, 4))
    {
        return false;
    }
    SkipDash(text);
    if (!TakeDigits(text, 2))
    {
        return false;
    }
    SkipDash(text);
    return TakeDigits(text, 2);
}

} // namespace

bool IsIso8601Text(WStringView text) noexcept
{
    if (text.size() < 4)
    {
        return false;
    }
    if (text[2] == ':')
    {
        return Matches(text, Time, false);
    }
    return TakeDate(text) && Matches(text, Date, true);
}

} // namespace Quoll::Utilities
