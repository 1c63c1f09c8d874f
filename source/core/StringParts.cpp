#include "Quoll/StringUtilities.h"
#include "core/UnitSet.h"

#include <algorithm>
#include <stdexcept>

namespace Quoll::Utilities
{

bool StringUtilities::StartsWith(const WString& text, const WString& prefix)
{
    return text.starts_with(prefix);
}

bool StringUtilities::EndsWith(const WString& text, const WString& suffix)
{
    return text.ends_with(suffix);
}

WString StringUtilities::Left(const WString& text, std::size_t count)
{
    return text.substr(0, count);
}

WString StringUtilities::Mid(const WString& text, std::size_t position)
{
    if (position > text.size())
    {
        throw std::out_of_range("invalid string position");
    }
    return text.substr(position);
}

std::vector<WString> StringUtilities::Split(const WString& text, const WString& delimiters, bool skipEmpty)
{
    std::vector<WString> items;
    const WStringView set(delimiters.c_str()); // as a tokenizer sees it
    WStringView rest(text.c_str());
    for (;;)
    {
        const std::size_t begin = rest.find_first_not_of(set);
        if (begin == WStringView::npos)
        {
            return items;
        }
        rest.remove_prefix(begin);
        const std::size_t end = std::min(rest.find_first_of(set), rest.size());
        items.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (!skipEmpty && rest.starts_with(delimiters))
        {
            items.emplace_back();
        }
    }
}

void StringUtilities::Trim(WString& text, const WString& set)
{
    TrimLeft(text, set);
    TrimRight(text, set);
}

void StringUtilities::TrimLeft(WString& text, const WString& set)
{
    const UnitSet units(set);
    const auto kept = std::find_if(text.begin(), text.end(), [&](WChar unit) { return !units.Contains(unit); });
    text.erase(text.begin(), kept);
}

void StringUtilities::TrimRight(WString& text, const WString& set)
{
    const UnitSet units(set);
    const auto kept = std::find_if(text.rbegin(), text.rend(), [&](WChar unit) { return !units.Contains(unit); });
    text.erase(kept.base(), text.end());
}

WChar* StringUtilities::GetBuffer(WString& text, std::size_t length)
{
    text.resize(length);
    return text.data();
}

void StringUtilities::ReleaseBuffer(WString& text)
{
    text.resize(WStringView(text.c_str()).size());
}

} // namespace Quoll::Utilities
