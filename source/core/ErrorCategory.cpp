// The text is composed here and not by the standard exceptions, which differ between libraries:
// some add paths in brackets, or ": " behind an empty context.
#include "core/ErrorCategory.h"

#include "Quoll/WideString.h"

#include <windows.h>

namespace Quoll::Utilities
{

namespace
{

constexpr DWORD k_longestText = 32767;

std::string SystemText(DWORD code)
{
    WString wide(k_longestText, WChar());
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                        wide.data(), k_longestText, nullptr);
    const int units = static_cast<int>(length);
    std::string text;
    if (units > 0)
    {
        const int size = WideCharToMultiByte(CP_ACP, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
        text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        if (WideCharToMultiByte(CP_ACP, 0, wide.data(), units, text.data(), size, nullptr, nullptr) != size)
        {
            text.clear();
        }
    }
    return text.empty() ? "unknown error" : text;
}

class Category : public std::error_category
{
public:
    const char* name() const noexcept override
    {
        return "win32";
    }
    std::string message(int code) const override
    {
        return SystemText(static_cast<DWORD>(code));
    }
};

} // namespace

const std::error_category& Win32Category() noexcept
{
    // Never destroyed: exceptions may outlive static objects.
    static const auto& category = *new Category;
    return category;
}

std::string ErrorText(const std::string& context, std::uint32_t code)
{
    std::string text = context.substr(0, context.find('\0'));
    if (!text.empty())
    {
        text += ": ";
    }
    return text += SystemText(code);
}

} // namespace Quoll::Utilities
