#include "Quoll/StringUtilities.h"
#include "core/CharacterClass.h"
#include "core/Printf.h"

#include <windows.h>

#include <algorithm>
#include <memory>

namespace Quoll::Utilities
{

namespace
{

constexpr DWORD MessageUnits = 4096;
constexpr DWORD LeastAllocatedUnits = 256;
constexpr DWORD UserLanguage = 1024;

struct LocalMemoryDeleter
{
    void operator()(WChar* memory) const noexcept
    {
        LocalFree(memory);
    }
};

} // namespace

WString StringUtilities::ToHex(std::int32_t value)
{
    const std::string digits = ToHexStr(value);
    return WString(digits.begin(), digits.end());
}

std::string StringUtilities::ToHexStr(std::int32_t value)
{
    std::string text = "0x00000000";
    auto rest = static_cast<std::uint32_t>(value);
    for (std::size_t position = text.size(); rest != 0; rest /= 16)
    {
        text[--position] = "0123456789ABCDEF"[rest % 16];
    }
    return text;
}

bool StringUtilities::VerifyContainsOnlyNumbers(const WString& text)
{
    return std::all_of(text.begin(), text.end(), IsDigit);
}

bool StringUtilities::VerifyContainsOnlyHexNumbers(const WString& text)
{
    return std::all_of(text.begin(), text.end(), IsHexDigit);
}

WString StringUtilities::FormatMessageW(const WChar* format, ...)
{
    WString text(MessageUnits, WChar{0});
    va_list arguments;
    va_start(arguments, format);
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_STRING, format, 0, 0, text.data(), MessageUnits, &arguments);
    va_end(arguments);
    text.resize(length);
    return text;
}

WString StringUtilities::FormatMessageWV(const WChar* format, std::va_list arguments)
{
    va_list list;
    va_copy(list, arguments); // a parameter of this type may be a pointer, whose address isn't a list's
    WChar* text = nullptr;
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING, format, 0,
                                          UserLanguage, reinterpret_cast<WChar*>(&text), LeastAllocatedUnits, &list);
    va_end(list);
    const std::unique_ptr<WChar, LocalMemoryDeleter> owner(text);
    return length == 0 ? WString() : WString(text, length);
}

WString StringUtilities::SafeSprintf(const WChar* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    WString text;
    try
    {
        text = SafeVSprintf(format, arguments);
    }
    catch (...)
    {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
    return text;
}

WString StringUtilities::SafeVSprintf(const WChar* format, std::va_list arguments)
{
    const int count = VPrint(nullptr, 0, format, arguments);
    if (count < 1)
    {
        return {};
    }
    const auto length = static_cast<std::size_t>(count);
    WString text(length, WChar{0});
    VPrint(text.data(), length + 1, format, arguments); // the NUL goes where the string has its own
    text.resize(WStringView(text.c_str()).size());
    return text;
}

} // namespace Quoll::Utilities
