// Dates and times as text.
#pragma once

#include "types.h"

using LCID = DWORD;

constexpr LCID LOCALE_NEUTRAL = 0;
constexpr LCID LOCALE_INVARIANT = 0x7F;
constexpr LCID LOCALE_USER_DEFAULT = 0x400;
constexpr LCID LOCALE_SYSTEM_DEFAULT = 0x800;

constexpr DWORD LOCALE_NOUSEROVERRIDE = 0x80000000;
constexpr DWORD LOCALE_USE_CP_ACP = 0x40000000;

constexpr DWORD DATE_SHORTDATE = 1;
constexpr DWORD DATE_LONGDATE = 2;
constexpr DWORD DATE_USE_ALT_CALENDAR = 4;
constexpr DWORD DATE_YEARMONTH = 8;

constexpr DWORD TIME_NOMINUTESORSECONDS = 1;
constexpr DWORD TIME_NOSECONDS = 2;
constexpr DWORD TIME_NOTIMEMARKER = 4;
constexpr DWORD TIME_FORCE24HOURFORMAT = 8;

extern "C"
{
    // The four locales above; others give ERROR_INVALID_PARAMETER. The neutral one is the user's: LC_ALL, LC_TIME
    // or LANG of the environment; the system's, out of /etc/locale.conf or /etc/default/locale, if none is set or
    // the process is privileged. Formats and names are those of the C library's locale; "C", "POSIX" and one that
    // isn't installed are the invariant locale.
    //
    // The flags above; others give ERROR_INVALID_FLAGS. No locale has an alternate calendar, and none has changes
    // of the user's. A picture, and a text, may have any length. A buffer that is too small is left with
    // as much as fits and a NUL.
    int GetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME* date, LPCWSTR format, LPWSTR text,
                       int size) noexcept;
    int GetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, LPCWSTR format, LPWSTR text,
                       int size) noexcept;
}
