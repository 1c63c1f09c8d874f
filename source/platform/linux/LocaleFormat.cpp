// GetDateFormatW and GetTimeFormatW: arguments, the locale's own picture, the caller's buffer.
//
// Checked in this order: the buffer, the locale, the flags, the moment. A date's time and a time's date aren't
// looked at.
#include "Calendar.h"
#include "ErrnoTable.h"
#include "PictureFormatter.h"

#include <algorithm>
#include <limits>
#include <new>

using namespace Quoll;
using Platform::LocaleData;

namespace
{

struct Failure
{
    DWORD code;
};

constexpr DWORD DateFormats = DATE_SHORTDATE | DATE_LONGDATE | DATE_YEARMONTH;
constexpr DWORD KnownDateFlags = DateFormats | DATE_USE_ALT_CALENDAR | LOCALE_NOUSEROVERRIDE | LOCALE_USE_CP_ACP;
constexpr DWORD KnownTimeFlags = TIME_NOMINUTESORSECONDS | TIME_NOSECONDS | TIME_NOTIMEMARKER | TIME_FORCE24HOURFORMAT |
                                 LOCALE_NOUSEROVERRIDE | LOCALE_USE_CP_ACP;

void Check(bool holds, DWORD code)
{
    if (!holds)
    {
        throw Failure{code};
    }
}

std::shared_ptr<const LocaleData> CheckedLocale(LCID locale, const WChar* text, int size)
{
    Check(size >= 0 && (text || size == 0), ERROR_INVALID_PARAMETER);
    auto data = Platform::FindLocale(locale);
    Check(data != nullptr, ERROR_INVALID_PARAMETER);
    return data;
}

WStringView DatePicture(const LocaleData& locale, DWORD flags, const WChar* format)
{
    Check((flags & ~KnownDateFlags) == 0, ERROR_INVALID_FLAGS);
    if (format)
    {
        Check((flags & (DateFormats | LOCALE_NOUSEROVERRIDE)) == 0, ERROR_INVALID_FLAGS);
        return format;
    }
    switch (flags & DateFormats)
    {
    case 0:
    case DATE_SHORTDATE:
        return locale.shortDate;
    case DATE_LONGDATE:
        return locale.longDate;
    case DATE_YEARMONTH:
        return locale.yearMonth;
    default:
        throw Failure{ERROR_INVALID_FLAGS};
    }
}

WStringView TimePicture(const LocaleData& locale, DWORD flags, const WChar* format)
{
    Check((flags & ~KnownTimeFlags) == 0, ERROR_INVALID_FLAGS);
    Check(!format || (flags & LOCALE_NOUSEROVERRIDE) == 0, ERROR_INVALID_FLAGS);
    return format ? WStringView(format) : locale.time;
}

bool IsDate(const SYSTEMTIME& date) noexcept
{
    return Platform::IsValid({date.wYear, date.wMonth, 0, date.wDay, 0, 0, 0, 0});
}

bool IsTime(const SYSTEMTIME& time) noexcept
{
    SYSTEMTIME onSomeDay = time;
    onSomeDay.wYear = Platform::FirstYear;
    onSomeDay.wMonth = onSomeDay.wDay = 1;
    return Platform::IsValid(onSomeDay);
}

SYSTEMTIME LocalNow()
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    if (!SystemTimeToTzSpecificLocalTime(nullptr, &now, &now))
    {
        throw Failure{GetLastError()};
    }
    return now;
}

int Deliver(const WString& formatted, WChar* text, int size)
{
    Check(formatted.size() < static_cast<std::size_t>(std::numeric_limits<int>::max()), ERROR_ARITHMETIC_OVERFLOW);
    const int needed = static_cast<int>(formatted.size()) + 1;
    if (size > 0)
    {
        text[formatted.copy(text, static_cast<std::size_t>(size) - 1)] = 0;
        Check(size >= needed, ERROR_INSUFFICIENT_BUFFER);
    }
    return needed;
}

template<class Action>
int ResultOf(Action action) noexcept
{
    try
    {
        return action();
    }
    catch (const Failure& failure)
    {
        SetLastError(failure.code);
    }
    catch (const Platform::LocaleShortage& shortage)
    {
        SetLastError(Platform::FromErrno(shortage.error));
    }
    catch (const std::exception&) // no memory, or a text longer than a string can be
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return 0;
}

} // namespace

int GetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME* date, LPCWSTR format, LPWSTR text, int size) noexcept
{
    return ResultOf([=] {
        const auto data = CheckedLocale(locale, text, size);
        const WStringView picture = DatePicture(*data, flags, format);
        const SYSTEMTIME moment = date ? *date : LocalNow();
        Check(IsDate(moment), ERROR_INVALID_PARAMETER);
        return Deliver(Platform::FormatDatePicture(picture, moment, *data), text, size);
    });
}

int GetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, LPCWSTR format, LPWSTR text, int size) noexcept
{
    return ResultOf([=] {
        const auto data = CheckedLocale(locale, text, size);
        const WStringView picture = TimePicture(*data, flags, format);
        const SYSTEMTIME moment = time ? *time : LocalNow();
        Check(IsTime(moment), ERROR_INVALID_PARAMETER);
        return Deliver(Platform::FormatTimePicture(picture, moment, flags, *data), text, size);
    });
}
