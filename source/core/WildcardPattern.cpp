#include "Quoll/WildcardPattern.h"
#include "core/wildcard/Matcher.h"

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

// The standard's own engine recurses once a unit, and takes exponential time or a table of states for each
// unit, where this one has to.
WildcardPattern::WildcardPattern(WStringView pattern)
    : m_matcher(std::make_shared<const Wildcard::Matcher>(pattern))
{
}

bool WildcardPattern::Match(WStringView text) const
{
    return m_matcher && m_matcher->Matches(text);
}

WString WildcardPattern::ToRegexString(WStringView pattern)
{
    WString result;
    for (const WChar unit : pattern)
    {
        if ("\\.(){}[]^$|"_w.find(unit) != WStringView::npos)
        {
            result += '\\';
            result += unit;
        }
        else if (unit == '?')
        {
            result += '.';
        }
        else if (unit == '*')
        {
            result += ".*"_w;
        }
        else
        {
            result += unit;
        }
    }
    return result;
}

} // namespace Quoll::Utilities
