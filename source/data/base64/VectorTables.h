// What the vector kernels look up, 16 rows a table, made from the alphabet at compile time.
#pragma once

#include "data/base64/Plain.h"

namespace Quoll::Base64Coder
{

using Table = std::array<std::uint8_t, 16>;

// What to add to a value for its unit, by the row that RowsOf gives.
constexpr Table UnitOffsets = [] {
    Table offsets{};
    for (unsigned row = 0; row < 14; ++row)
    {
        const unsigned value = row == 13 ? 0 : 51 + row;
        offsets[row] = static_cast<std::uint8_t>(static_cast<unsigned char>(Alphabet[value]) - value);
    }
    return offsets;
}();
static_assert(UnitOffsets[0] == 'z' - 51 && UnitOffsets[1] == UnitOffsets[10]);

// What to add to a unit for its value, by the unit's high half; row 1 is that of "/", which is alone
// in sharing its high half with a unit that isn't its neighbour.
constexpr Table ValueOffsets = [] {
    Table offsets{};
    for (unsigned value = 0; value < 63; ++value)
    {
        const auto unit = static_cast<unsigned char>(Alphabet[value]);
        offsets[unit >> 4] = static_cast<std::uint8_t>(value - unit);
    }
    offsets[1] = static_cast<std::uint8_t>(63 - '/');
    return offsets;
}();

// A bit for each high half that has units of the alphabet, and one for all others.
constexpr unsigned HighBit(unsigned high) noexcept
{
    return high >= 2 && high <= 7 ? 1u << (high - 2) : 0x40;
}

constexpr Table HighBits = [] {
    Table bits{};
    for (unsigned high = 0; high < 16; ++high)
    {
        bits[high] = static_cast<std::uint8_t>(HighBit(high));
    }
    return bits;
}();

// For each low half the bits of the high halves with which it is no unit of the alphabet.
constexpr Table WrongHighBits = [] {
    Table bits{};
    for (unsigned unit = 0; unit < 256; ++unit)
    {
        bits[unit & 15] |= static_cast<std::uint8_t>(Meanings[unit] < 64 ? 0 : HighBit(unit >> 4));
    }
    return bits;
}();

} // namespace Quoll::Base64Coder
