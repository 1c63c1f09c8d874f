// Decimal numbers of wide text, as the C runtime's strtol and strtoull read them.
#pragma once

#include "core/CharacterClass.h"

#include <cstdint>
#include <limits>
#include <optional>

namespace Quoll::Json
{

struct DecimalNumber
{
    bool isNegative = false;
    std::uint64_t magnitude = 0;
    bool isTooLarge = false; // for 64 bits; the magnitude is the largest then
};

constexpr DecimalNumber ReadDecimal(WStringView text) noexcept
{
    DecimalNumber number;
    std::size_t position = 0;
    while (position < text.size() && Utilities::IsSpace(text[position]))
    {
        ++position;
    }
    if (position < text.size() && (text[position] == '+' || text[position] == '-'))
    {
        number.isNegative = text[position++] == '-';
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    for (; position < text.size() && Utilities::IsDigit(text[position]); ++position)
    {
        const auto digit = static_cast<std::uint64_t>(text[position] - '0');
        number.isTooLarge = number.isTooLarge || number.magnitude > (largest - digit) / 10;
        number.magnitude = number.isTooLarge ? largest : number.magnitude * 10 + digit;
    }
    return number;
}

// Nothing if the number is out of range.
constexpr std::optional<std::int32_t> ToInt32(const DecimalNumber& number) noexcept
{
    constexpr std::uint64_t largest = std::numeric_limits<std::int32_t>::max();
    if (number.magnitude > largest + (number.isNegative ? 1 : 0))
    {
        return std::nullopt;
    }
    const auto magnitude = static_cast<std::int64_t>(number.magnitude);
    return static_cast<std::int32_t>(number.isNegative ? -magnitude : magnitude);
}

// Nothing if the number is out of range. A negative one wraps around.
constexpr std::optional<std::uint64_t> ToUint64(const DecimalNumber& number) noexcept
{
    if (number.isTooLarge)
    {
        return std::nullopt;
    }
    return number.isNegative ? 0 - number.magnitude : number.magnitude;
}

} // namespace Quoll::Json
