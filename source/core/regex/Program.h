// A compiled regular expression: instructions for a matcher that backtracks.
#pragma once

#include "core/CharacterClass.h"

#include <bitset>
#include <cstdint>
#include <vector>

namespace Quoll::Utilities::Regex
{

// A character class of a pattern.
class UnitClass
{
public:
    void Add(UnitRange range);
    // Adds the ranges, or all units but those.
    void Add(const std::vector<UnitRange>& ranges, bool complement);
    void Complement();
    // Puts the ranges in order, which Contains needs.
    void Finish();

    bool Contains(WChar unit) const noexcept;

private:
    bool IsInRanges(WChar unit) const noexcept;

    std::vector<UnitRange> m_ranges;
    std::bitset<256> m_low;
    bool m_complement = false;
};

enum class Operation : std::uint8_t
{
    Unit,          // matches the unit `value`
    Any,           // matches any unit but a line end
    Class,         // matches a unit of class `value`
    Split,         // tries `first`, then `second`
    Jump,          // goes on at `first`
    Save,          // stores the position in slot `value`
    CheckProgress, // fails where the position is still that of slot `value`
    Begin,
    End,
    WordBorder,    // `value` 0: fails at a border
    LookAhead,     // matches the body behind it, which ends at `first`; `value` 0: must not match
    BackReference, // matches what group `value` matched
    Match
};

struct Instruction
{
    Operation operation;
    std::uint32_t value = 0;
    // Offsets from this instruction, so that code can be copied.
    std::int32_t first = 0;
    std::int32_t second = 0;
};

using Code = std::vector<Instruction>;

struct Program
{
    Code code;
    std::vector<UnitClass> classes;
    std::uint32_t groups = 1; // with the whole match
    std::uint32_t slots = 2;  // two a group, then one a loop
    bool regular = true;      // neither look-ahead nor back references
};

constexpr std::size_t MaxInstructions = 100000;
constexpr std::uint32_t MaxGroups = 1'000;
constexpr int MaxNesting = 200;

/// Compiles an ECMAScript pattern.
/// @throws std::regex_error
Program Compile(WStringView pattern);

constexpr bool IsWordUnit(WChar unit) noexcept
{
    return IsDigit(unit) || unit == '_' || (ToLowerAscii(unit) >= 'a' && ToLowerAscii(unit) <= 'z');
}

constexpr bool IsLineEnd(WChar unit) noexcept
{
    return unit == '\n' || unit == '\r' || unit == 0x2028 || unit == 0x2029;
}

} // namespace Quoll::Utilities::Regex
