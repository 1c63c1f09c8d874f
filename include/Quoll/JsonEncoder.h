// The escapes of text in JSON documents.
//
//     WString escaped = JsonEncoder::ToEscapedString("a \"b\""_w);  // a \"b\"
//     WString text = JsonEncoder::FromEscapedString(escaped);       // a "b"
//
// Eight units are escaped with a backslash and a letter, in the order of their index:
//
//     index   0          1             2    3    4    5    6    7
//     unit    backslash  double quote  CR   LF   FF   TAB  BS   slash
//     letter  \          "             r    n    f    t    b    /
//
// So a slash is always escaped. It differs from RFC 8259 in the control characters, which are the
// units below decimal 20 here, and in how they are written: each of their two digits is a nibble added
// to the code of "0". So 0x0B, 0x0E and 0x0F become `\u000;`, `\u000>` and `\u000?`, which don't read back.
// The units from 20 to 31, and all above 127, are written as they are.
//
// Threads: the operations keep no state.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <cstddef>
#include <string>

namespace Quoll::Utilities
{

/// Escapes text and undoes it. A null pointer counts as an empty text.
class QUOLL_API JsonEncoder
{
public:
    JsonEncoder() = delete;

    /// Whether any of the units has a letter. Control characters don't count.
    static bool NeedsEscaping(WStringView text) noexcept;
    /// Whether there is a backslash.
    static bool IsEscaped(WStringView text) noexcept;

    /// The text with every unit escaped that has a letter or is a control character. The text ends at
    /// its first NUL.
    /// @throws std::length_error  the result has more than 2^31 - 1 units
    static WString ToEscapedString(WStringView text);
    /// The same.
    /// @throws std::length_error  the result has more than 2^31 - 1 units
    static WString ToEscapedString(const WChar* text);
    /// The same, but gives the whole text back as it is, control characters and NULs included,
    /// unless NeedsEscaping.
    /// @throws std::length_error  the result has more than 2^31 - 1 units
    static WString ToEscapedString(WString&& text);

    /// ToEscapedString in UTF-8.
    /// @throws ConversionException  the text isn't UTF-16
    /// @throws std::length_error    as ToEscapedString
    static std::string ToEscapedUtf8String(const WChar* text);
    /// ToEscapedString of a text in UTF-8.
    /// @throws ConversionException  the text isn't UTF-8
    /// @throws std::length_error    as ToEscapedString
    static std::string ToEscapedUtf8String(const char* text);

    /// The text with its escapes undone. A backslash and a letter become the letter's unit; `\u` and
    /// four units become the one whose number the four are, in base 16. A backslash and any other
    /// unit, `u` with fewer units behind it included, are dropped, and so is a backslash at the end.
    ///
    /// The four units are read as std::stoul reads them: white space, a sign and "0x" may stand
    /// first, and what follows the digits is passed over; of the number, the low 16 bits count. So
    /// `\u12G4` is 0x12, and `\u-001` is 0xFFFF.
    /// @throws std::invalid_argument  "invalid stoul argument": the four units hold no number
    static WString FromEscapedString(const WString& text);
    /// The same; gives a text back as it is unless IsEscaped.
    /// @throws std::invalid_argument  as above
    static WString FromEscapedString(WString&& text);

    /// Whether the unit has a letter.
    static bool IsMaskedCharacter(WChar unit) noexcept;
    /// The same; `index` becomes the index of the unit, or the largest number if it has no letter.
    static bool IsMaskedCharacter(WChar unit, unsigned& index) noexcept;
    /// Whether the unit is a control character, which is to be below 20.
    static bool IsNonPrintingCharacter(WChar unit) noexcept;

    /// How many units ToEscapedString makes of the text; 0 if it leaves the text as it is.
    /// @throws std::length_error  more than 2^31 - 1
    static int CalculateOutputLength(const WChar* text);
    /// Overwrites the two units at the position with the escape of a unit that has a letter, and moves
    /// the position behind them. Does nothing, and answers false, for other units.
    /// @throws std::out_of_range  two units from the position on aren't all within the buffer
    static bool AppendEscapedCharacter(WChar unit, WString& buffer, std::size_t& position);
    /// Overwrites the six units at the position with the escape of a control character, and moves the
    /// position behind them.
    /// @throws std::out_of_range  six units from the position on aren't all within the buffer
    static void EncodeNonPrintCharacter(WString& buffer, std::size_t& position, WChar unit);
    /// Compares a calculated length with the one that came out.
    /// @throws std::logic_error  "ToEscapedString: wrong length calculation.": they differ
    static void VerifyOutputLength(int calculated, int written);
};

} // namespace Quoll::Utilities
