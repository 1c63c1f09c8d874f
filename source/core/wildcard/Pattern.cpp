#include "core/wildcard/Pattern.h"
#include "core/regex/Program.h"

#include <platform/case_folding.h>

#include <regex>

namespace Quoll::Utilities::Wildcard
{

namespace
{

// The platform's mapping, asked once a unit and process.
struct FoldTable
{
    FoldTable() noexcept
    {
        for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        {
            units[unit] = Platform::ToLowerUnit(static_cast<WChar>(unit));
        }
    }

    WChar units[0x10000]; // NOLINT(modernize-avoid-c-arrays)
};

} // namespace

WChar FoldWide(WChar unit) noexcept
{
    static const FoldTable table;
    return table.units[unit];
}

Pattern Parse(WStringView text)
{
    Pattern pattern;
    auto& elements = pattern.elements;
    elements.reserve(text.size());
    bool& star = pattern.endsWithStar;
    bool quantifiable = false;
    for (const WChar unit : text)
    {
        if (unit == '*')
        {
            if (!elements.empty() && elements.back().repeats && Regex::IsLineEnd(elements.back().unit))
            {
                elements.push_back({.empty = true});
            }
            star = true;
            quantifiable = false;
        }
        else if (unit == '+')
        {
            if (!quantifiable)
            {
                throw std::regex_error(std::regex_constants::error_badrepeat);
            }
            quantifiable = false;
            Element& repeated = elements.back();
            repeated.repeats = repeated.IsLiteral();
            pattern.hasRepeats |= repeated.repeats;
            star = !repeated.repeats; // "?+" is "?*"
        }
        else
        {
            Element& element = elements.emplace_back();
            if (unit != '?')
            {
                element.unit = Fold(unit);
                element.mask = 0xFFFF;
            }
            element.afterStar = star;
            pattern.hasLineEnds |= Regex::IsLineEnd(unit);
            star = false;
            quantifiable = true;
        }
    }
    return pattern;
}

} // namespace Quoll::Utilities::Wildcard
