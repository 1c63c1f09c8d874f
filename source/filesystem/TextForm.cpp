#include "filesystem/TextForm.h"

#include "core/UnitBlock.h"
#include "core/utf/Utf16Bytes.h"

#include <algorithm>

namespace Quoll::Utilities
{

namespace
{

struct IsNoByte
{
    auto operator()(auto units) const noexcept
    {
        return units > std::uint16_t{0xFF};
    }
};

Utf::Progress Widen(std::string_view bytes, WChar* units, std::size_t capacity) noexcept
{
    const std::size_t count = std::min(bytes.size(), capacity);
    std::transform(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count), units,
                   [](char byte) { return static_cast<WChar>(static_cast<unsigned char>(byte)); });
    return {count, count, count == bytes.size() ? Utf::Outcome::Complete : Utf::Outcome::NoRoom};
}

Utf::Progress Narrow(WStringView units, char* bytes, std::size_t capacity) noexcept
{
    const std::size_t room = std::min(units.size(), capacity);
    const std::size_t count = CountUntil(units.substr(0, room), IsNoByte());
    std::transform(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(count), bytes,
                   [](WChar unit) { return static_cast<char>(unit); });
    const auto outcome = count < room           ? Utf::Outcome::IllFormed
                         : count < units.size() ? Utf::Outcome::NoRoom
                                                : Utf::Outcome::Complete;
    return {count, count, outcome};
}

} // namespace

TextForm FormOf(FileEncoding encoding) noexcept
{
    switch (encoding)
    {
    case FileEncoding::Utf8NoBom:
    case FileEncoding::Utf8Bom:
        return TextForm::Utf8;
    case FileEncoding::Utf16Le:
        return TextForm::Utf16Little;
    case FileEncoding::Utf16Be:
        return TextForm::Utf16Big;
    }
    return TextForm::Bytes;
}

std::string_view MarkOf(FileEncoding encoding) noexcept
{
    switch (encoding)
    {
    case FileEncoding::Utf8NoBom:
        return {};
    case FileEncoding::Utf8Bom:
        return UTF8_MARK;
    case FileEncoding::Utf16Le:
        return UTF16_LITTLE_MARK;
    case FileEncoding::Utf16Be:
        return UTF16_BIG_MARK;
    }
    return {};
}

Utf::Progress ToUnits(TextForm form, std::string_view bytes, WChar* units, std::size_t capacity) noexcept
{
    switch (form)
    {
    case TextForm::Utf8:
        return Utf::Decode(bytes, units, capacity);
    case TextForm::Utf16Little:
        return Utf::DecodeUtf16(bytes, Utf::ByteOrder::Little, units, capacity);
    case TextForm::Utf16Big:
        return Utf::DecodeUtf16(bytes, Utf::ByteOrder::Big, units, capacity);
    case TextForm::Bytes:
        break;
    }
    return Widen(bytes, units, capacity);
}

Utf::Progress ToBytes(TextForm form, WStringView units, char* bytes, std::size_t capacity) noexcept
{
    switch (form)
    {
    case TextForm::Utf8:
        return Utf::Encode(units, bytes, capacity);
    case TextForm::Utf16Little:
        return Utf::EncodeUtf16(units, Utf::ByteOrder::Little, bytes, capacity);
    case TextForm::Utf16Big:
        return Utf::EncodeUtf16(units, Utf::ByteOrder::Big, bytes, capacity);
    case TextForm::Bytes:
        break;
    }
    return Narrow(units, bytes, capacity);
}

} // namespace Quoll::Utilities
