#include "Quoll/JsonEncoder.h"

#include "Quoll/StringUtilities.h"
#include "data/json/Escapes.h"

#include <limits>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

WStringView View(const WChar* text) noexcept
{
    return text == nullptr ? WStringView() : WStringView(text);
}

int CalculateLength(WStringView text)
{
    std::size_t added = 0;
    for (const WChar unit : text)
    {
        const char letter = GetEscapeLetter(unit);
        added += letter == '\0' ? 0 : letter == 'u' ? LongestEscape - 1 : 1;
    }
    if (added == 0)
    {
        return 0;
    }
    constexpr std::size_t longest = std::numeric_limits<int>::max();
    if (text.size() > longest || added > longest - text.size())
    {
        throw std::length_error("The escaped text is longer than 2^31 - 1 units.");
    }
    return static_cast<int>(text.size() + added);
}

std::size_t Escape(WStringView text, WChar* to) noexcept
{
    WChar* next = to;
    while (true)
    {
        const std::size_t run = CopyUntil(text, next, HasEscape());
        next += run;
        if (run == text.size())
        {
            return static_cast<std::size_t>(next - to);
        }
        next = WriteEscape(text[run], next);
        text.remove_prefix(run + 1);
    }
}

WChar* TakeRoom(WString& buffer, std::size_t& position, std::size_t size)
{
    if (position > buffer.size() || buffer.size() - position < size)
    {
        throw std::out_of_range("An escape doesn't fit into the buffer.");
    }
    WChar* const room = buffer.data() + position;
    position += size;
    return room;
}

} // namespace

bool JsonEncoder::NeedsEscaping(WStringView text) noexcept
{
    return CountUntil(text, IsMaskedUnit()) != text.size();
}

bool JsonEncoder::IsEscaped(WStringView text) noexcept
{
    return CountUntil(text, IsBackslash()) != text.size();
}

WString JsonEncoder::ToEscapedString(WStringView text)
{
    text = text.substr(0, text.find(WChar()));
    const int length = CalculateLength(text);
    if (length == 0)
    {
        return WString(text);
    }
    WString escaped(static_cast<std::size_t>(length), WChar());
    VerifyOutputLength(length, static_cast<int>(Escape(text, escaped.data())));
    return escaped;
}

WString JsonEncoder::ToEscapedString(const WChar* text)
{
    return ToEscapedString(View(text));
}

WString JsonEncoder::ToEscapedString(WString&& text)
{
    return NeedsEscaping(text) ? ToEscapedString(WStringView(text)) : std::move(text);
}

std::string JsonEncoder::ToEscapedUtf8String(const WChar* text)
{
    return StringUtilities::Utf16ToUtf8(ToEscapedString(text));
}

std::string JsonEncoder::ToEscapedUtf8String(const char* text)
{
    const WString wide = StringUtilities::Utf8ToUtf16(text == nullptr ? "" : text);
    return ToEscapedUtf8String(wide.c_str());
}

WString JsonEncoder::FromEscapedString(const WString& text)
{
    WString result(text.size(), WChar());
    result.resize(Unescape(text, result.data()));
    return result;
}

WString JsonEncoder::FromEscapedString(WString&& text)
{
    return IsEscaped(text) ? FromEscapedString(static_cast<const WString&>(text)) : std::move(text);
}

bool JsonEncoder::IsMaskedCharacter(WChar unit) noexcept
{
    return IsMasked(unit);
}

bool JsonEncoder::IsMaskedCharacter(WChar unit, unsigned& index) noexcept
{
    const auto* const found = std::find(std::begin(MaskedUnits), std::end(MaskedUnits), unit);
    const bool isMasked = found != std::end(MaskedUnits);
    index = isMasked ? static_cast<unsigned>(found - MaskedUnits) : std::numeric_limits<unsigned>::max();
    return isMasked;
}

bool JsonEncoder::IsNonPrintingCharacter(WChar unit) noexcept
{
    return unit < FirstPrintingUnit;
}

int JsonEncoder::CalculateOutputLength(const WChar* text)
{
    return CalculateLength(View(text));
}

bool JsonEncoder::AppendEscapedCharacter(WChar unit, WString& buffer, std::size_t& position)
{
    if (!IsMasked(unit))
    {
        return false;
    }
    WriteEscape(unit, TakeRoom(buffer, position, 2));
    return true;
}

void JsonEncoder::EncodeNonPrintCharacter(WString& buffer, std::size_t& position, WChar unit)
{
    WriteControlEscape(unit, TakeRoom(buffer, position, LongestEscape));
}

void JsonEncoder::VerifyOutputLength(int calculated, int written)
{
    if (calculated != written)
    {
        throw std::logic_error("ToEscapedString: wrong length calculation.");
    }
}

} // namespace Quoll::Utilities
