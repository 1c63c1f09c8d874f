#include "core/regex/Program.h"

#include <algorithm>

namespace Quoll::Utilities::Regex
{

void UnitClass::Add(UnitRange range)
{
    m_ranges.push_back(range);
    for (unsigned unit = range.first; unit <= range.last && unit < m_low.size(); ++unit)
    {
        m_low.set(unit);
    }
}

void UnitClass::Add(const std::vector<UnitRange>& ranges, bool complement)
{
    unsigned next = 0;
    for (const UnitRange& range : ranges) // in rising order
    {
        if (!complement)
        {
            Add(range);
        }
        else if (range.first > next)
        {
            Add(UnitRange{static_cast<WChar>(next), static_cast<WChar>(range.first - 1)});
        }
        next = range.last + 1u;
    }
    if (complement && next <= 0xFFFF)
    {
        Add(UnitRange{static_cast<WChar>(next), 0xFFFF});
    }
}

void UnitClass::Complement()
{
    m_complement = true;
}

bool UnitClass::Contains(WChar unit) const noexcept
{
    const bool found = unit < m_low.size()
                           ? m_low[unit]
                           : std::any_of(
                                 m_ranges.begin(), m_ranges.end(),
                                 [unit](const UnitRange& range) { return unit >= range.first && unit <= range.last; });
    return found != m_complement;
}

} // namespace Quoll::Utilities::Regex
