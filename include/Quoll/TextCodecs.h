/// @file
/// Text in forms that may travel: Base64 and URL escapes.
///
/// Both classes have only static operations and no state. Wide text is UTF-16, the bytes that
/// are encoded are those of its UTF-8. Behaviour is the same on both targets.
///
///     using namespace Quoll::Literals;
///     Quoll::WString body = "data="_w + Base64::Encode(document);
///     Quoll::WString query = "name="_w + UrlEncoding::Encode(name, UrlPart::General);
///
/// Threads: all operations are reentrant. Failures: std::bad_alloc may come from any operation, and
/// what else is thrown stands at the operation; nothing else is. Time and memory grow linearly with the
/// text.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Quoll::Utilities
{

/// Base64 as in RFC 4648, section 4: the standard alphabet, "=" as padding.
///
/// Encoding makes no line breaks. Decoding goes by this table:
///
/// | unit | meaning |
/// |---|---|
/// | `A` to `Z`, `a` to `z`, `0` to `9`, `+`, `/` | six bits each |
/// | blank, tab, carriage return, line feed | skipped anywhere, within and behind the padding too |
/// | `=` | padding: one behind the last three, two behind the last two of the alphabet |
/// | any other, NUL and those above 127 included | refused |
///
/// Padding is required: the units of the alphabet and of the padding together are a multiple of four. A single
/// one of the alphabet at the end, padding elsewhere, and anything but white space behind it are refused.
/// The bits under the padding are ignored, whatever they are. An empty text, and one of white
/// space alone, decodes to nothing.
///
/// Wide text is converted as StringUtilities does it, and so ends at its first NUL, both the text given and
/// the wide text that Decode makes. Byte text has no such end: there NUL is refused, and in the bytes that
/// come out NUL is a byte like any other.
class QUOLL_API Base64
{
public:
    Base64() = delete;

    /// The Base64 text of the UTF-8 of a wide text; empty for an empty one.
    /// @throws ConversionException  the text isn't UTF-16
    /// @throws std::runtime_error   "Cannot encode base64 string": the result would be longer than a string can be
    static WString Encode(const WString& text);

    /// The wide text whose UTF-8 was encoded.
    /// @throws std::runtime_error   "Cannot decode base64 string": the text is refused by the table above
    /// @throws ConversionException  the text isn't UTF-16, or the decoded bytes aren't UTF-8
    static WString Decode(const WString& text);

    /// The bytes that were encoded, in place of what the vector held. After a failure it is empty.
    /// @throws std::runtime_error  "Cannot decode base64 string": the text is refused by the table above
    static void Decode(const std::string& text, std::vector<std::uint8_t>& bytes);

    /// The same from wide text.
    /// @throws std::runtime_error   "Cannot decode base64 string": the text is refused by the table above
    /// @throws ConversionException  the text isn't UTF-16
    static void Decode(const WString& text, std::vector<std::uint8_t>& bytes);
};

/// The part of a URL that a text is to stand in; it selects the characters that are reserved there.
enum class UrlPart : std::uint32_t
{
    General = 0,    ///< no reserved characters
    User = 1,       ///< no reserved characters
    Password = 2,   ///< no reserved characters
    Path = 3,       ///< reserved: `/` `;` `?`
    Search = 4,     ///< reserved: `/` `;` `?`
    SearchItem = 5, ///< reserved: `/` `;` `?` `&`
    FieldName = 6,  ///< reserved: `/` `;` `?` `&` `=`
    FieldValue = 7  ///< reserved: `/` `;` `?` `&` `=`
};

/// Escapes text for URLs in the manner of RFC 1738: "%" and two upper-case hexadecimal digits for each byte.
///
/// A unit is escaped if it is reserved in the part, or unsafe, or not graphic; all others stay. Each
/// 16-bit unit is taken by itself: a character above U+FFFF becomes six escapes, three for each half of
/// its surrogate pair, and the halves need not be paired. NUL is escaped as "%00".
class QUOLL_API UrlEncoding
{
public:
    UrlEncoding() = delete;

    /// The escaped text; empty for an empty one, whatever the part.
    /// @throws std::out_of_range  "invalid map<K, T> key": the part is none of UrlPart's, and the text isn't empty
    static WString Encode(const WString& text, UrlPart part);

protected:
    /// Appends the escapes of one unit: one below 128, two below 2048, else three.
    static void EncodeToBuffer(WChar unit, WString& buffer);

    /// Whether the unit is 32 to 126.
    static bool Rfc1738HasGraphic(WChar unit) noexcept;

    /// Whether the unit is reserved in the part.
    /// @throws std::out_of_range  "invalid map<K, T> key": the part is none of UrlPart's
    static bool Rfc1738IsReserved(WChar unit, UrlPart part);

    /// Whether the unit is a blank or one of `<>"#%{}|\^~[]` and the backquote.
    static bool Rfc1738IsUnsafe(WChar unit) noexcept;
};

} // namespace Quoll::Utilities
