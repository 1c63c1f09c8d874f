#include "core/regex/Program.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

void UnitClass::Finish()
{
    std::sort(m_ranges.begin(), m_ranges.end(),
              [](const UnitRange& left, const UnitRange& right) { return left.first < right.first; });
    std::vector<UnitRange> merged;
    for (const UnitRange& range : m_ranges)
    {
        if (merged.empty() || range.first > merged.back().last)
        {
            merged.push_back(range);
        }
        merged.back().last = std::max(merged.back().last, range.last);
    }
    m_ranges = std::move(merged);
}

bool UnitClass::IsInRanges(WChar unit) const noexcept
{
    const auto next = std::upper_bound(m_ranges.begin(), m_ranges.end(), unit,
                                       [](WChar value, const UnitRange& range) { return value < range.first; });
    return next != m_ranges.begin() && unit <= std::prev(next)->last;
}

bool UnitClass::Contains(WChar unit) const noexcept
{
    return (unit < m_low.size() ? m_low[unit] : IsInRanges(unit)) != m_complement;
}

} // namespace Quoll::Utilities::Regex
