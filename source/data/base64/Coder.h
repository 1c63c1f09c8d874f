// Base64 between bytes and units of text, which are bytes or 16-bit units.
//
// Pure and reentrant: no allocation, no exceptions. The decoder's table is that of
// Quoll::Utilities::Base64.
#pragma once

#include "Quoll/WideString.h"

#include <cstddef>

namespace Quoll::Base64Coder
{

template<class Unit>
struct EncodeCursor
{
    const unsigned char* in;
    const unsigned char* inEnd;
    Unit* out; // with room for EncodedSize
};

// Both ends move by whole groups of four units, so that decoding can go on from a cursor.
template<class Unit>
struct DecodeCursor
{
    const Unit* in;
    const Unit* inEnd;
    unsigned char* out;
    unsigned char* outEnd;
};

enum class Outcome
{
    Complete,
    Refused, // where the cursor stands then means nothing
    NoRoom   // fewer than three bytes are left; decoding can go on with more room
};

constexpr std::size_t EncodedSize(std::size_t bytes) noexcept
{
    return bytes / 3 * 4 + (bytes % 3 == 0 ? 0 : 4);
}

// With this much room no text of so many units ends in NoRoom.
constexpr std::size_t DecodedLimit(std::size_t units) noexcept
{
    return (units + 3) / 4 * 3;
}

// All of the cursor's bytes, padded. Unit is char or WChar.
template<class Unit>
void Encode(EncodeCursor<Unit>& cursor) noexcept;

// As much as there is room for. Bytes up to outEnd may be overwritten.
template<class Unit>
Outcome Decode(DecodeCursor<Unit>& cursor) noexcept;

} // namespace Quoll::Base64Coder
