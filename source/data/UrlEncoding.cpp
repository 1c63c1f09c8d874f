#include "Quoll/TextCodecs.h"

#include <array>
#include <cstddef>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

constexpr std::array<WStringView, 8> ReservedUnits = {
    ""_w, ""_w, ""_w, "/;?"_w, "/;?"_w, "/;?&"_w, "/;?&="_w, "/;?&="_w,
};

constexpr WStringView UnsafeUnits = " <>\"#%{}|\\^~[]`"_w;
static_assert(UnsafeUnits.size() == 15);

using Escape = std::array<WChar, 3>;

// "%00" to "%FF".
constexpr std::array<Escape, 256> Escapes = [] {
    constexpr WStringView digits = "0123456789ABCDEF"_w;
    std::array<Escape, 256> escapes{};
    for (std::size_t byte = 0; byte < escapes.size(); ++byte)
    {
        escapes[byte] = {WChar{'%'}, digits[byte / 16], digits[byte % 16]};
    }
    return escapes;
}();

void AppendEscape(unsigned byte, WString& buffer)
{
    const Escape& escape = Escapes[byte];
    buffer.append(escape.data(), escape.size());
}

} // namespace

WString UrlEncoding::Encode(const WString& text, UrlPart part)
{
    WString result;
    result.reserve(text.size());
    for (const WChar unit : text)
    {
        if (Rfc1738IsReserved(unit, part) || Rfc1738IsUnsafe(unit) || !Rfc1738HasGraphic(unit))
        {
            EncodeToBuffer(unit, result);
        }
        else
        {
            result.push_back(unit);
        }
    }
    return result;
}

void UrlEncoding::EncodeToBuffer(WChar unit, WString& buffer)
{
    const unsigned value = unit;
    if (value < 0x80)
    {
        AppendEscape(value, buffer);
        return;
    }
    if (value < 0x800)
    {
        AppendEscape(0xC0 | (value >> 6), buffer);
    }
    else
    {
        AppendEscape(0xE0 | (value >> 12), buffer);
        AppendEscape(0x80 | ((value >> 6) & 0x3F), buffer);
    }
    AppendEscape(0x80 | (value & 0x3F), buffer);
}

bool UrlEncoding::Rfc1738HasGraphic(WChar unit) noexcept
{
    return unit >= 32 && unit <= 126;
}

bool UrlEncoding::Rfc1738IsReserved(WChar unit, UrlPart part)
{
    const auto index = static_cast<std::size_t>(part);
    if (index >= ReservedUnits.size())
    {
        throw std::out_of_range("invalid map<K, T> key");
    }
    return ReservedUnits[index].find(unit) != WStringView::npos;
}

bool UrlEncoding::Rfc1738IsUnsafe(WChar unit) noexcept
{
    return UnsafeUnits.find(unit) != WStringView::npos;
}

} // namespace Quoll::Utilities
