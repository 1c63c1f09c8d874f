// A set of wide units that is asked often.
#pragma once

#include "Quoll/WideString.h"

#include <algorithm>
#include <array>

namespace Quoll::Utilities
{

class UnitSet
{
public:
    // Refers to the units, which must outlive the set.
    explicit UnitSet(WStringView units) noexcept
        : m_units(units)
        , m_low(std::all_of(units.begin(), units.end(), [](WChar unit) { return unit < 256; }))
    {
        for (const WChar unit : units)
        {
            m_table[unit % 256] = true;
        }
    }

    bool Contains(WChar unit) const noexcept
    {
        return m_low ? unit < 256 && m_table[unit] : m_units.find(unit) != WStringView::npos;
    }

private:
    WStringView m_units;
    std::array<bool, 256> m_table{};
    bool m_low; // so the table says it all
};

} // namespace Quoll::Utilities
