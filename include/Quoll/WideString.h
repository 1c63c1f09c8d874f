// Wide text: sequences of 16-bit units that hold UTF-16.
//
// `WChar` is `wchar_t` on Windows and `char16_t` elsewhere, so that a Windows client passes its
// std::wstring and any other client its std::u16string. Literals are written "text"_w; the text
// of the source file is decoded from UTF-8 at compile time, and ill-formed UTF-8 stops the
// compiler:
//
//     using namespace Quoll::Literals;
//     Quoll::WString name = "\\\\.\\pipe\\quoll"_w;
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Quoll
{

#if defined(_WIN32)
using WChar = wchar_t;
#else
using WChar = char16_t;
#endif

static_assert(sizeof(WChar) == 2, "a wide unit has 16 bits");

using WString = std::basic_string<WChar>;
using WStringView = std::basic_string_view<WChar>;

namespace Detail
{

// One UTF-8 sequence at compile time. A throw-expression that is reached is a compile error.
struct DecodedCodePoint
{
    char32_t value;
    std::size_t length;
};

consteval DecodedCodePoint DecodeLiteral(const char* text, std::size_t size)
{
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
    {
        return {lead, 1};
    }
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (lead < 0xC2 || lead > 0xF4 || length > size)
    {
        throw "the literal is not UTF-8";
    }
    char32_t value = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        const auto unit = static_cast<unsigned char>(text[i]);
        if ((unit & 0xC0) != 0x80)
        {
            throw "the literal is not UTF-8";
        }
        value = (value << 6) | (unit & 0x3Fu);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    if (overlong || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
    {
        throw "the literal is not UTF-8";
    }
    return {value, length};
}

// The units of a literal and their number; a class type that a template can take as argument.
template<std::size_t Capacity>
struct LiteralText
{
    WChar units[Capacity]{};
    std::size_t length = 0;

    // NOLINTNEXTLINE(google-explicit-constructor): a literal operator template converts here
    consteval LiteralText(const char (&text)[Capacity])
    {
        for (std::size_t position = 0; position + 1 < Capacity;)
        {
            const auto [value, used] = DecodeLiteral(text + position, Capacity - 1 - position);
            position += used;
            if (value >= 0x10000)
            {
                units[length++] = static_cast<WChar>(0xD7C0 + (value >> 10));
                units[length++] = static_cast<WChar>(0xDC00 + (value & 0x3FF));
            }
            else
            {
                units[length++] = static_cast<WChar>(value);
            }
        }
    }
};

} // namespace Detail

/// A wide literal: a view of a static, NUL-terminated array.
///
/// It is passed as it stands to any parameter of type WString, WStringView or `const WChar*`, and
/// never converts to byte text. The conversion to a pointer is for the literal itself; a named
/// object of this type gives its pointer by data(), which is always NUL-terminated.
class WideLiteral : public WStringView
{
public:
    /// Views static, NUL-terminated units; what the literal operator makes.
    constexpr WideLiteral(const WChar* units, std::size_t length) noexcept
        : WStringView(units, length)
    {
    }

    // NOLINTBEGIN(google-explicit-constructor): a literal stands wherever wide text is taken
    /// A copy as a string.
    operator WString() const
    {
        return WString(data(), size());
    }
    /// The units, which end in NUL, wherever a plain pointer is taken.
    // Only from a temporary: so std::basic_string sees a view, not a pointer as well, and its
    // overloads stay unambiguous.
    constexpr operator const WChar*() const&& noexcept
    {
        return data();
    }
    // NOLINTEND(google-explicit-constructor)
};

// Found by argument-dependent lookup: the standard operators deduce nothing from a literal.
inline WString operator+(WString left, const WideLiteral& right)
{
    return std::move(left.append(right));
}
inline WString operator+(const WideLiteral& left, const WString& right)
{
    return WString(left).append(right);
}

inline namespace Literals
{

template<Detail::LiteralText Text>
constexpr WideLiteral operator""_w() noexcept
{
    return {Text.units, Text.length};
}

} // namespace Literals

} // namespace Quoll
