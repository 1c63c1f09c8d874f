// Wildcard matching beside a slow table of what matches what, and beside the regular-expression engine where pattern
// and text are short. The first byte says how many of the following make the pattern; the rest is the text.
#include "Quoll/StringUtilities.h"
#include "Quoll/WildcardPattern.h"
#include "core/regex/Matcher.h"

#include <cstdint>
#include <cstdlib>
#include <regex>
#include <string_view>
#include <vector>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using Utilities::StringUtilities;

struct Translation : Utilities::WildcardPattern
{
    using WildcardPattern::ToRegexString;
};

WString Widen(std::string_view bytes)
{
    // Line ends, units with unusual cases, halves of pairs.
    constexpr WChar others[] = {0x2028, 0x2029, 0x0A,   0x0D,   0x212A, 0x0130, 0x0131, 0x017F,
                                0x0416, 0x0436, 0x1E9E, 0x00DF, 0xD801, 0xDC00, 0xFFFF, 0x00C4};
    WString wide;
    for (const char byte : bytes)
    {
        const auto value = static_cast<unsigned char>(byte);
        wide += value < 0x80 ? WChar{value} : others[value % 16];
    }
    return wide;
}

bool MatchesUnit(WChar element, WChar unit)
{
    return element == '?' ? !Utilities::Regex::IsLineEnd(unit)
                          : StringUtilities::ToLower(WString(1, element)) == StringUtilities::ToLower(WString(1, unit));
}

// reached[n]: the first n units of the pattern, which is a valid one, match the text so far.
bool MatchesSlowly(const WString& pattern, const WString& text)
{
    std::vector<bool> reached(pattern.size() + 1);
    for (std::size_t used = 0; used <= text.size(); ++used)
    {
        std::vector<bool> next(pattern.size() + 1);
        next[0] = used == 0;
        for (std::size_t at = 1; at <= pattern.size(); ++at)
        {
            const WChar element = pattern[at - 1];
            const WChar unit = used > 0 ? text[used - 1] : WChar{0};
            if (element == '*')
            {
                next[at] = next[at - 1] || (used > 0 && reached[at] && !Utilities::Regex::IsLineEnd(unit));
            }
            else if (element == '+')
            {
                next[at] = next[at - 1] || (used > 0 && reached[at] && MatchesUnit(pattern[at - 2], unit));
            }
            else
            {
                next[at] = used > 0 && reached[at - 1] && MatchesUnit(element, unit);
            }
        }
        reached = next;
    }
    return reached[pattern.size()];
}

bool IsValid(const WString& pattern)
{
    bool quantifiable = false;
    for (const WChar unit : pattern)
    {
        if (unit == '+' && !quantifiable)
        {
            return false;
        }
        quantifiable = unit != '*' && unit != '+';
    }
    return true;
}

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t length = size > 0 ? data[0] : 0;
    const WString pattern = Widen(bytes.substr(std::min<std::size_t>(size, 1), length));
    const WString text = Widen(bytes.substr(std::min(size, length + 1)));
    try
    {
        const bool matches = Utilities::WildcardPattern(pattern).Match(text);
        Check(IsValid(pattern) && matches == MatchesSlowly(pattern, text));
        if (pattern.size() + text.size() <= 64)
        {
            const WString whole = "^"_w + Translation::ToRegexString(StringUtilities::ToLower(pattern)) + "$"_w;
            const Utilities::Regex::Program program = Utilities::Regex::Compile(whole);
            const WString lower = StringUtilities::ToLower(text);
            Check(matches == Utilities::Regex::Matcher(program, lower).Search(0));
        }
    }
    catch (const std::regex_error& error)
    {
        Check(error.code() == std::regex_constants::error_badrepeat && !IsValid(pattern));
    }
    return 0;
}
