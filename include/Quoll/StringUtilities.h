/// @file
/// Helpers for wide text, and the one place where byte text is converted.
///
/// Wide text is UTF-16 and every operation works on 16-bit units: a surrogate pair is two units, and
/// never one character. Byte text is UTF-8. Operations that change a text in place take it by
/// reference; all others leave their arguments alone. Behaviour is the same on both targets and
/// doesn't depend on the C locale.
///
///     using namespace Quoll::Literals;
///     Quoll::WString line = StringUtilities::Utf8ToUtf16(bytes);
///     StringUtilities::Trim(line, " \t\r\n"_w);
///     auto fields = StringUtilities::Split(line, ";"_w, true);
///
/// Threads: all operations are reentrant. Failures: std::bad_alloc may come from any operation, and
/// what else is thrown stands at the operation; nothing else is.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <locale>
#include <string>
#include <vector>

namespace Quoll::Utilities
{

/// Static operations on text; see the file's description.
class QUOLL_API StringUtilities
{
public:
    StringUtilities() = delete;

    /// @name Conversion
    /// Strict: ill-formed text is refused, never replaced. The text ends at its first NUL.
    /// @{

    /// Byte text to wide text.
    /// @throws ConversionException  the text isn't UTF-8
    static WString Utf8ToUtf16(const std::string& text);

    /// The same into `result`, which is untouched on failure.
    /// @throws ConversionException  the text isn't UTF-8
    static void Utf8ToUtf16(const std::string& text, WString& result);

    /// Wide text to byte text.
    /// @throws ConversionException  the text isn't UTF-16: half of a surrogate pair stands alone
    static std::string Utf16ToUtf8(const WString& text);

    /// The same into `result`, which is untouched on failure.
    /// @throws ConversionException  the text isn't UTF-16
    static void Utf16ToUtf8(const WString& text, std::string& result);

    /// Every unit above 127 becomes "?". The whole text, NULs included.
    static std::string TruncateToAscii(const WString& text);

    /// Whether the whole text, NULs included, is UTF-8: shortest forms, no surrogates, nothing above
    /// U+10FFFF.
    static bool IsValidUtf8(const std::string& text);
    /// @}

    /// @name Case
    /// Unit by unit, by the platform's tables; a unit whose other case takes two units stays.
    /// @{

    /// A lower-case copy.
    static WString ToLower(const WString& text);
    /// Lower case in place.
    static void ToLower(WString& text);
    /// An upper-case copy.
    static WString ToUpper(const WString& text);
    /// Upper case in place.
    static void ToUpper(WString& text);
    /// Upper case in place: a to z alone, so that UTF-8 stays UTF-8.
    static void ToUpper(std::string& text);

    /// Compares without the case of A to Z: negative, 0 or positive. Both texts end at their first NUL.
    static int CompareNoCase(const WString& left, const WString& right);

    /// Whether the upper-cased text contains the upper-cased needle; an empty needle is contained.
    static bool ContainsNoCase(const WString& text, const WString& needle);

    /// The process's locale: the user's default one, or the classic one if the environment names
    /// one that isn't installed; with character types of the classic one, and the facet by which
    /// ToLower and ToUpper work. It is made on first use and never changes.
    static const std::locale& GetLocale();
    /// @}

    /// @name Parts
    /// @{

    /// Whether the text begins with the prefix; case counts, an empty prefix always fits.
    static bool StartsWith(const WString& text, const WString& prefix);
    /// Whether the text ends with the suffix; case counts, an empty suffix always fits.
    static bool EndsWith(const WString& text, const WString& suffix);
    /// The first `count` units, or the whole text if it is shorter.
    static WString Left(const WString& text, std::size_t count);
    /// The text from `position` on.
    /// @throws std::out_of_range  "invalid string position": the position is above the length
    static WString Mid(const WString& text, std::size_t position);

    /// Takes a text apart at each unit of the set `delimiters`.
    ///
    /// The text ends at its first NUL. Runs of delimiters count as one, and none makes an item at
    /// begin or end. Without `skipEmpty`, an empty item follows each item whose ending
    /// delimiter is followed by the whole of `delimiters`, taken as one string: "a,,b" and "a,,,b" give
    /// "a", "", "b". With an empty set, "x" gives "x" and "", or just "x" with `skipEmpty`.
    static std::vector<WString> Split(const WString& text, const WString& delimiters, bool skipEmpty);
    /// @}

    /// @name Change in place
    /// @{

    /// Appends the suffix unless the text ends with it.
    static void AddAtEndIfNotExists(WString& text, const WString& suffix);

    /// Replaces each occurrence, from left to right; inserted text isn't searched. An empty search
    /// does nothing.
    /// @throws std::length_error  the text grew beyond 2^28 units
    static void Replace(WString& text, const WString& search, const WString& replacement);

    /// Replaces the first occurrence as long as there is one, those that arise from replacing included.
    ///
    /// An empty text or search does nothing. Time and size may grow far beyond those of the text where
    /// replacements go on making occurrences ("ab" by "bba").
    /// @throws std::runtime_error  "Replace shouldn't contain the search string for replace all": the
    ///                             replacement contains the search
    /// @throws std::length_error   the text grew beyond 2^28 units
    static void ReplaceAll(WString& text, const WString& search, const WString& replacement);

    /// If the first unit is any unit of `search`, replaces the first units, as many as `search` has or
    /// the whole text if that is shorter. "bcd" with "ab" and "X" gives "Xd": not a test for a
    /// prefix, unlike ReplaceAtEnd's for a suffix.
    static void ReplaceAtBegin(WString& text, const WString& search, const WString& replacement);

    /// Replaces the text's end if it is `search`, which isn't empty.
    static void ReplaceAtEnd(WString& text, const WString& search, const WString& replacement);

    /// Removes units of the set from both ends.
    static void Trim(WString& text, const WString& set);
    /// Removes units of the set from the beginning.
    static void TrimLeft(WString& text, const WString& set);
    /// Removes units of the set from the end.
    static void TrimRight(WString& text, const WString& set);

    /// Gives the text `length` units (new ones are NUL) for a call to write into, and their address,
    /// which is good until the text changes.
    static WChar* GetBuffer(WString& text, std::size_t length);
    /// Cuts the text at its first NUL.
    static void ReleaseBuffer(WString& text);
    /// @}

    /// Replaces every match of a regular expression (ECMAScript).
    ///
    /// In the replacement "$&" is the match, "$1" to "$99" a group (two digits wherever there are two), "$`" what
    /// stands between it and the match before, "$'" what stands behind it, "$$" a dollar sign. `^` and `$` are begin
    /// and end of the whole text, `\d`, `\w` and `\b` know ASCII, `\s` the white space of Unicode's basic plane.
    ///
    /// Stack use doesn't depend on the text. A text of a million units takes well under a second for
    /// usual patterns; a search that takes more than 50 million steps and 500 for each unit, as
    /// nested repeats with look-ahead or back references can, is given up.
    /// @throws std::regex_error  the pattern is ill-formed; it has more than 100,000 states
    ///                           or 1,000 groups (error_space) or 200 nested groups (error_stack); or the
    ///                           search was given up (error_complexity, error_stack)
    /// @throws std::length_error  the text grew beyond 2^28 units
    static WString ReplaceRegex(const WString& text, const WString& pattern, const WString& replacement);

    /// @name Numbers
    /// @{

    /// "0x" and eight upper-case digits; a negative value as its 32-bit pattern.
    static WString ToHex(std::int32_t value);
    /// The same in bytes.
    static std::string ToHexStr(std::int32_t value);
    /// Whether all units are 0 to 9; true for an empty text.
    static bool VerifyContainsOnlyNumbers(const WString& text);
    /// Whether all units are hexadecimal digits; true for an empty text.
    static bool VerifyContainsOnlyHexNumbers(const WString& text);
    /// @}

    /// @name Formatting
    ///
    /// Messages hold inserts %1 to %99, each with an optional directive ("%1!05d!"; "%1" alone is
    /// a wide text), and %n, %r, %t, %%, %0. Line breaks become CR LF. There are no floating-point
    /// inserts. Every lower number needs its argument, too.
    ///
    /// Printf formats are those of C, for wide text: "%s" takes wide text, "%S" and "%hs" byte text in
    /// UTF-8, "%c" a wide unit, "%I64d" and "%lld" 64-bit integers; a null text prints "(null)". `l` is
    /// the long of C, which differs between the targets. "%n" is refused.
    ///
    /// Failure gives an empty text. Arguments must be what the format says, as with printf.
    /// @{

    /// Formats a message of at most 4,095 units; a longer one fails.
    static WString FormatMessageW(const WChar* format, ...);
    /// Formats a message of any length that the platform allows (on Linux 65,535 units).
    static WString FormatMessageWV(const WChar* format, std::va_list arguments);
    /// Prints; what follows a NUL in the result is dropped.
    static WString SafeSprintf(const WChar* format, ...);
    /// Prints; what follows a NUL in the result is dropped.
    static WString SafeVSprintf(const WChar* format, std::va_list arguments);
    /// @}
};

} // namespace Quoll::Utilities
