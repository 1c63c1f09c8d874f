// Scanning numbers out of wide text: what the C runtime's wide scans do in its "C" locale, on both targets.
//
//     NumberScanner scanner(text);                     // "%u.%u"
//     const auto first = scanner.TakeDecimal();
//     const auto second = first && scanner.TakeUnit('.') ? scanner.TakeDecimal() : std::nullopt;
#pragma once

#include "core/CharacterClass.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace Quoll::Utilities
{

/// The six units that are white space to C.
constexpr bool IsSpaceOfC(WChar unit) noexcept
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

/// Takes what stands in front of a text that ends at its first NUL. What fails takes an unknown number of
/// units, as it does in C, so that nothing useful can follow.
class NumberScanner
{
public:
    constexpr explicit NumberScanner(WStringView text) noexcept
        : m_rest(text.substr(0, text.find(WChar{0})))
    {
    }

    /// A unit of the format that stands for itself.
    constexpr bool TakeUnit(WChar unit) noexcept
    {
        const bool isThere = !m_rest.empty() && m_rest.front() == unit;
        m_rest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }

    /// "%u": white space, a sign, and digits in any number. The value wraps modulo 2^32, a negative one too.
    constexpr std::optional<std::uint32_t> TakeDecimal() noexcept
    {
        return TakeNumber(10, std::numeric_limits<std::size_t>::max());
    }

    /// "%8x" for a width of 8: white space, and then at most `width` units: a sign, "0x" and digits.
    constexpr std::optional<std::uint32_t> TakeHexadecimal(std::size_t width) noexcept
    {
        return TakeNumber(16, width);
    }

private:
    constexpr std::optional<std::uint32_t> TakeNumber(unsigned base, std::size_t width) noexcept
    {
        while (!m_rest.empty() && IsSpaceOfC(m_rest.front()))
        {
            m_rest.remove_prefix(1);
        }
        WStringView item = m_rest.substr(0, width);
        const std::size_t offered = item.size();
        const bool isNegative = !item.empty() && item.front() == '-';
        item.remove_prefix(!item.empty() && (isNegative || item.front() == '+') ? 1 : 0);
        if (base == 16 && item.size() > 1 && item[0] == '0' && ToLowerAscii(item[1]) == 'x')
        {
            item.remove_prefix(2);
        }
        std::uint32_t value = 0;
        const std::size_t undigested = item.size();
        while (!item.empty() && GetDigit(item.front()) < base)
        {
            value = value * base + GetDigit(item.front());
            item.remove_prefix(1);
        }
        m_rest.remove_prefix(offered - item.size());
        if (item.size() == undigested)
        {
            return std::nullopt;
        }
        return isNegative ? 0 - value : value;
    }

    static constexpr unsigned GetDigit(WChar unit) noexcept
    {
        if (IsDigit(unit))
        {
            return unit - unsigned{'0'};
        }
        return IsHexDigit(unit) ? ToLowerAscii(unit) - unsigned{'a'} + 10 : std::numeric_limits<unsigned>::max();
    }

    WStringView m_rest;
};

} // namespace Quoll::Utilities
