/// @file
/// File masks and the like: `*` and `?` against wide text, without case.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <memory>

namespace Quoll::Utilities
{

namespace Wildcard
{
class Matcher;
}

/// A wildcard text, compiled once and matched often.
///
/// - `*` stands for any number of units, none included, and `?` for exactly one; neither stands for a line
///   end (LF, CR, U+2028, U+2029). A character outside of the basic plane is two units.
/// - `+` is the quantifier of regular expressions: the unit or the `?` before it, once or more often. "a+"
///   matches "aaa". No `+` can be matched literally.
/// - Every other unit stands for itself, NUL included, whatever its case: two units are equal if
///   StringUtilities::ToLower makes them so.
///
/// It is the ECMAScript regular expression that ToRegexString makes, matched as a whole and without case.
///
///     using namespace Quoll::Literals;
///     const WildcardPattern texts("*.t?t"_w);
///     texts.Match("Report.TXT"_w);     // true
///     texts.Match("report.txt.bak"_w); // false
///
/// Copies share the compiled form. An object made without a pattern, or moved from, matches nothing, not
/// even the empty text.
///
/// Patterns and texts of any length are fine. Memory is linear in the pattern, the stack used doesn't depend on
/// either, and time is at worst the product of their lengths divided by 64, usually linear in the text.
///
/// Threads: Match may be called by several threads at once.
class QUOLL_API WildcardPattern
{
public:
    /// Matches nothing.
    WildcardPattern() = default;

    /// Compiles the pattern.
    /// @throws std::regex_error  (error_badrepeat) a `+` has nothing to repeat: it stands at the beginning, behind `*`
    ///                           or behind another `+`
    /// @throws std::bad_alloc
    explicit WildcardPattern(WStringView pattern);

    /// Whether the whole text matches the whole pattern.
    /// @throws std::bad_alloc  memory is short; only texts that nearly fit again and again, and patterns with `+`
    ///                         or line ends, need any
    bool Match(WStringView text) const;

protected:
    /// The regular expression that a pattern stands for: "?" becomes ".", "*" becomes ".*", and a backslash is put
    /// before each backslash, dot, round, square or curly bracket, caret, dollar sign and bar.
    static WString ToRegexString(WStringView pattern);

private:
    std::shared_ptr<const Wildcard::Matcher> m_matcher;
};

} // namespace Quoll::Utilities
