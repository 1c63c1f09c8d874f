#include "Quoll/UserLocalFormat.h"

#include "Quoll/Errors.h"

#include <windows.h>

namespace Quoll::Utilities
{

namespace
{

// The platform counts the NUL in both answers.
template<class Formatter>
WString Format(Formatter formatter, const char* failure, const SYSTEMTIME& dateTime, std::uint32_t locale,
               std::uint32_t flags, const WString& format)
{
    const WChar* const picture = format.empty() ? nullptr : format.c_str();
    const int capacity = formatter(locale, flags, &dateTime, picture, nullptr, 0);
    if (capacity <= 0)
    {
        throw Win32Exception(failure);
    }
    WString text(static_cast<std::size_t>(capacity), 0);
    const int length = formatter(locale, flags, &dateTime, picture, text.data(), capacity);
    if (length <= 0)
    {
        throw Win32Exception(failure);
    }
    text.resize(static_cast<std::size_t>(length) - 1);
    return text;
}

} // namespace

WString UserLocalFormat::GetFormatDate(const SYSTEMTIME& dateTime, std::uint32_t locale, std::uint32_t flags,
                                       const WString& format)
{
    return Format(&GetDateFormatW, "GetDateFormatW failed", dateTime, locale, flags, format);
}

WString UserLocalFormat::GetFormatTime(const SYSTEMTIME& dateTime, std::uint32_t locale, std::uint32_t flags,
                                       const WString& format)
{
    return Format(&GetTimeFormatW, "GetTimeFormatW failed", dateTime, locale, flags, format);
}

} // namespace Quoll::Utilities
