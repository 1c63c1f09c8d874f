#include "Quoll/StringUtilities.h"
#include "core/ReplaceLimit.h"
#include "core/UnitSet.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Quoll::Utilities
{

void StringUtilities::AddAtEndIfNotExists(WString& text, const WString& suffix)
{
    if (!text.ends_with(suffix))
    {
        text.append(suffix);
    }
}

void StringUtilities::Replace(WString& text, const WString& search, const WString& replacement)
{
    if (text.empty() || search.empty())
    {
        return;
    }
    WString result;
    std::size_t position = 0;
    for (std::size_t found = text.find(search); found != WString::npos; found = text.find(search, position))
    {
        result.append(text, position, found - position).append(replacement);
        position = found + search.size();
        CheckReplacedLength(result.size(), text.size());
    }
    result.append(text, position);
    CheckReplacedLength(result.size(), text.size());
    text = std::move(result);
}

void StringUtilities::ReplaceAll(WString& text, const WString& search, const WString& replacement)
{
    if (text.empty() || search.empty())
    {
        return;
    }
    if (replacement.find(search) != WString::npos)
    {
        throw std::runtime_error("Replace shouldn't contain the search string for replace all");
    }
    // Instead of searching from the beginning after each replacement: `done` never holds the search,
    // so the first occurrence is the first that a unit moved there completes. What is still to move
    // stands in reverse order, so that both ends are cheap.
    WString done;
    WString pending(text.rbegin(), text.rend());
    const WString inserted(replacement.rbegin(), replacement.rend());
    while (!pending.empty())
    {
        done.push_back(pending.back());
        pending.pop_back();
        if (done.back() == search.back() && done.ends_with(search))
        {
            done.resize(done.size() - search.size());
            pending.append(inserted);
        }
        CheckReplacedLength(done.size() + pending.size(), text.size());
    }
    text = std::move(done);
}

void StringUtilities::ReplaceAtBegin(WString& text, const WString& search, const WString& replacement)
{
    if (!text.empty() && UnitSet(search).Contains(text.front()))
    {
        text.replace(0, search.size(), replacement);
    }
}

void StringUtilities::ReplaceAtEnd(WString& text, const WString& search, const WString& replacement)
{
    if (!text.empty() && !search.empty() && text.ends_with(search))
    {
        text.replace(text.size() - search.size(), search.size(), replacement);
    }
}

} // namespace Quoll::Utilities
