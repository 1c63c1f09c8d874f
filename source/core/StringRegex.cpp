#include "Quoll/StringUtilities.h"
#include "core/ReplaceLimit.h"
#include "core/regex/Matcher.h"

namespace Quoll::Utilities
{

namespace
{

using Regex::Matcher;

void AppendGroup(WString& result, WStringView text, const Matcher& match, std::size_t group)
{
    if (match.Begin(group) != Matcher::Unset && match.End(group) != Matcher::Unset)
    {
        result.append(text.substr(match.Begin(group), match.End(group) - match.Begin(group)));
    }
}

// Reads a group's number: of two digits wherever there are two, as the standard library does.
std::size_t ReadGroup(WStringView digits, std::size_t& used)
{
    std::size_t group = static_cast<std::size_t>(digits[0] - '0');
    used = 1;
    if (digits.size() > 1 && IsDigit(digits[1]))
    {
        group = group * 10 + static_cast<std::size_t>(digits[1] - '0');
        used = 2;
    }
    return group;
}

// Appends what the text behind a dollar sign stands for, and tells how much of it was used. What
// stands before a match begins behind the match before.
std::size_t AppendSpecial(WString& result, WStringView text, std::size_t copied, const Matcher& match,
                          std::size_t groups, WStringView special)
{
    std::size_t used = 1;
    switch (special.empty() ? WChar{0} : special[0])
    {
    case '$':
        result.push_back('$');
        return used;
    case '&':
        AppendGroup(result, text, match, 0);
        return used;
    case '`':
        result.append(text.substr(copied, match.Begin() - copied));
        return used;
    case '\'':
        result.append(text.substr(match.End()));
        return used;
    default:
        break;
    }
    if (special.empty() || !IsDigit(special[0]))
    {
        result.push_back('$');
        return 0;
    }
    const std::size_t group = ReadGroup(special, used);
    if (group < groups)
    {
        AppendGroup(result, text, match, group);
    }
    return used;
}

void AppendReplacement(WString& result, WStringView text, std::size_t copied, const Matcher& match, std::size_t groups,
                       WStringView replacement)
{
    for (;;)
    {
        const std::size_t dollar = replacement.find(WChar{'$'});
        result.append(replacement.substr(0, dollar));
        if (dollar == WStringView::npos)
        {
            return;
        }
        replacement.remove_prefix(dollar + 1);
        CheckReplacedLength(result.size(), text.size());
        replacement.remove_prefix(AppendSpecial(result, text, copied, match, groups, replacement));
    }
}

} // namespace

// The standard's own engine recurses once a unit and so overflows the stack on long texts; it doesn't
// know 16-bit units either. Ours does the same for the same patterns.
WString StringUtilities::ReplaceRegex(const WString& text, const WString& pattern, const WString& replacement)
{
    const Regex::Program program = Regex::Compile(pattern);
    Matcher match(program, text);
    WString result;
    std::size_t copied = 0;
    bool found = match.Search(0);
    while (found)
    {
        result.append(text, copied, match.Begin() - copied);
        AppendReplacement(result, text, copied, match, program.groups, replacement);
        CheckReplacedLength(result.size(), text.size());
        copied = match.End();
        const bool empty = match.Begin() == copied;
        if (!empty)
        {
            found = match.Search(copied);
        }
        else
        {
            found = match.MatchNonEmptyAt(copied) || (copied < text.size() && match.Search(copied + 1));
        }
    }
    result.append(text, copied);
    CheckReplacedLength(result.size(), text.size());
    return result;
}

} // namespace Quoll::Utilities
