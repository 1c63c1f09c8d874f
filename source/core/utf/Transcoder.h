// UTF-8 to UTF-16 and back.
//
// Pure: it includes nothing of the library, so that the Linux platform layer, which stands
// below, can share it. Strict conversions stop before the first ill-formed sequence; lenient ones
// put U+FFFD in place of each maximal ill-formed subpart. NUL is a unit like any other.
//
// All functions are reentrant. They write at most `capacity` units and never a terminator.
#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>

namespace Quoll::Utf
{

// The 16-bit unit of the target's wide text.
using Unit = std::conditional_t<sizeof(wchar_t) == 2, wchar_t, char16_t>;
using UnitView = std::basic_string_view<Unit>;

enum class Outcome
{
    Complete,
    IllFormed, // `read` is where the first ill-formed sequence begins
    NoRoom     // the next sequence doesn't fit; conversion can go on from `read`
};

struct Progress
{
    std::size_t read;
    std::size_t written;
    Outcome outcome;
};

Progress Decode(std::string_view text, Unit* wide, std::size_t capacity) noexcept;
Progress Encode(UnitView wide, char* text, std::size_t capacity) noexcept;

// Never IllFormed. No sequence of input is split between two calls that follow each other.
Progress DecodeLenient(std::string_view text, Unit* wide, std::size_t capacity) noexcept;
Progress EncodeLenient(UnitView wide, char* text, std::size_t capacity) noexcept;

// What a conversion with room for everything would report; nothing is written.
Progress MeasureDecode(std::string_view text, bool lenient) noexcept;
Progress MeasureEncode(UnitView wide, bool lenient) noexcept;

// Size of the converted text when the input is well-formed, else at least as much as a strict
// conversion writes before it stops. Far quicker than measuring.
std::size_t EstimateDecode(std::string_view text) noexcept;
std::size_t EstimateEncode(UnitView wide) noexcept;

} // namespace Quoll::Utf
