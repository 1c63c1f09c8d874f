// The forms of ISO 8601 texts as expressions, beside which the library's own matching is judged.
#pragma once

#include "core/regex/Matcher.h"

namespace Quoll::Tests
{

/// Whether the text matches its form up to its end.
inline bool MatchesIsoExpression(WStringView text)
{
    using namespace Quoll::Literals;
    namespace Regex = Utilities::Regex;
    static const Regex::Program dateTime =
        Regex::Compile("(?:(\\d{4})-{0,1}(\\d{2})-{0,1}(\\d{2})(?:[ ,T]{1}(\\d{2}):(\\d{2}):(\\d{2})(?:.\\d{3})*)*"
                       "(?:(?:[+-]{1}\\d{2}.\\d{2})|(?:Z))*)(?![\\s\\S])"_w);
    static const Regex::Program time =
        Regex::Compile("(?:(\\d{2}):(\\d{2}):(\\d{2})(?:.\\d{3})*(?:(?:[+-]{1}\\d{2}.\\d{2})|(?:Z))*)(?![\\s\\S])"_w);
    return text.size() >= 4 && Regex::Matcher(text[2] == ':' ? time : dateTime, text).MatchNonEmptyAt(0);
}

} // namespace Quoll::Tests
