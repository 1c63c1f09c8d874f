// Floating point in print formats, out of the standard's exact and locale-free conversion.
#include "core/PrintDirective.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace Quoll::Utilities
{

namespace
{

// More digits than any double has behind its point; whatever is asked for beyond is zeros.
constexpr int MaxDigits = 1100;

// Room for 309 digits, a point, MaxDigits and an exponent.
constexpr std::size_t BufferSize = 1536;

struct FloatText
{
    char buffer[BufferSize];
    std::size_t bodyLength = 0;
    std::string_view suffix; // the exponent
    std::uint64_t trailingZeros = 0;

    void Convert(double value, std::chars_format format, int precision) noexcept
    {
        const int digits = std::min(precision, MaxDigits);
        // Without a precision only hexadecimal comes here; it is exact and short by itself.
        const auto result = precision < 0 ? std::to_chars(buffer, buffer + BufferSize - 2, value, format)
                                          : std::to_chars(buffer, buffer + BufferSize - 2, value, format, digits);
        const std::string_view text(buffer, static_cast<std::size_t>(result.ptr - buffer));
        trailingZeros = static_cast<std::uint64_t>(std::max(precision - digits, 0));
        bodyLength = std::min(text.find_first_of(format == std::chars_format::hex ? "p" : "e"), text.size());
        suffix = text.substr(bodyLength);
    }

    bool HasPoint() const noexcept
    {
        return std::string_view(buffer, bodyLength).find('.') != std::string_view::npos;
    }

    void AddPoint() noexcept
    {
        if (!HasPoint())
        {
            char* const end = buffer + bodyLength;
            std::copy_backward(suffix.begin(), suffix.end(), end + suffix.size() + 1);
            *end = '.';
            suffix = std::string_view(end + 1, suffix.size());
            ++bodyLength;
        }
    }

    void DropZeros() noexcept
    {
        trailingZeros = 0;
        if (HasPoint())
        {
            const std::size_t last = std::string_view(buffer, bodyLength).find_last_not_of('0');
            bodyLength = buffer[last] == '.' ? last : last + 1;
        }
    }
};

int DecimalExponent(std::string_view suffix) noexcept
{
    int exponent = 0;
    std::from_chars(suffix.data() + 2, suffix.data() + suffix.size(), exponent);
    return suffix[1] == '-' ? -exponent : exponent;
}

void ConvertGeneral(FloatText& text, double value, int precision, bool keepZeros) noexcept
{
    const int digits = precision < 0 ? 6 : std::max(precision, 1);
    text.Convert(value, std::chars_format::scientific, digits - 1);
    const int exponent = DecimalExponent(text.suffix);
    if (exponent >= -4 && exponent < digits)
    {
        const std::int64_t places = std::int64_t{digits} - 1 - exponent;
        text.Convert(value, std::chars_format::fixed, static_cast<int>(std::min<std::int64_t>(places, INT_MAX)));
    }
    if (!keepZeros)
    {
        text.DropZeros();
    }
}

void ConvertFinite(FloatText& text, const PrintDirective& directive, double value) noexcept
{
    const int precision = directive.precision;
    switch (directive.type | 0x20)
    {
    case 'f':
        text.Convert(value, std::chars_format::fixed, precision < 0 ? 6 : precision);
        break;
    case 'e':
        text.Convert(value, std::chars_format::scientific, precision < 0 ? 6 : precision);
        break;
    case 'a':
        text.Convert(value, std::chars_format::hex, precision);
        break;
    default:
        ConvertGeneral(text, value, precision, directive.alternate);
        break;
    }
    if (directive.alternate)
    {
        text.AddPoint();
    }
}

void ToUpperAscii(char* text, std::size_t length) noexcept
{
    std::transform(text, text + length, text,
                   [](char unit) { return unit >= 'a' && unit <= 'z' ? static_cast<char>(unit - 0x20) : unit; });
}

} // namespace

void PrintFloat(PrintSink& sink, const PrintDirective& directive, double value) noexcept
{
    PrintNumber number;
    if (std::signbit(value))
    {
        number.AddPrefix('-');
    }
    else if (directive.plus || directive.blank)
    {
        number.AddPrefix(directive.plus ? '+' : ' ');
    }
    const bool upper = directive.type < 'a';
    const bool finite = std::isfinite(value);
    FloatText text;
    if (finite)
    {
        if ((directive.type | 0x20) == 'a')
        {
            number.AddPrefix('0');
            number.AddPrefix(upper ? 'X' : 'x');
        }
        ConvertFinite(text, directive, std::fabs(value));
    }
    else
    {
        const std::string_view name = std::isnan(value) ? "nan" : "inf";
        text.bodyLength = name.copy(text.buffer, name.size());
    }
    if (upper)
    {
        ToUpperAscii(text.buffer, text.bodyLength);
        if (!text.suffix.empty()) // which dropped zeros may part from the body
        {
            ToUpperAscii(text.buffer + (text.suffix.data() - text.buffer), text.suffix.size());
        }
    }
    number.body = text.buffer;
    number.bodyLength = text.bodyLength;
    number.trailingZeros = text.trailingZeros;
    number.suffix = text.suffix.data();
    number.suffixLength = text.suffix.size();
    PrintPadded(sink, directive, number, directive.zero && finite);
}

} // namespace Quoll::Utilities
