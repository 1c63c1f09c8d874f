/// @file
/// Dates and times as text, by pictures or in the format of a locale.
///
///     using namespace Quoll::Literals;
///     SYSTEMTIME moment = time.GetSystemTime(false);
///     WString day = UserLocalFormat::GetFormatDate(moment, 0x7F, 0, "dddd, d MMMM yyyy"_w); // Tuesday, 7 March 2023
///     WString shown = UserLocalFormat::GetFormatDate(moment, 0x400, 1, {});                 // as the user likes it
///
/// **Locales** are given by number; any other is refused with code 87 on Linux, while Windows knows all of its own.
///
/// | locale | on Windows | on Linux |
/// |---|---|---|
/// | 0x7F invariant | the invariant locale | the same: English names, "MM/dd/yyyy", "dddd, dd MMMM yyyy", "HH:mm:ss" |
/// | 0x400 user default, and 0 | the user's regional settings | `LC_ALL`, else `LC_TIME`, else `LANG` |
/// | 0x800 system default | the system's locale | the same, out of the system's settings |
///
/// The system's settings on Linux are `/etc/locale.conf` or `/etc/default/locale`. They count for the user as well if
/// the environment has none of the three, and always in a privileged process.
///
/// On Linux names and formats are those of the C library's locale; its long date is its date with time, without
/// the time and with whole names. A change of the environment or of the files is followed by the next call. The
/// locales "C" and "POSIX", and one that isn't installed, are the invariant one. Only the Gregorian calendar is
/// known there.
///
/// **Pictures of a date.** The day of the week is worked out from the date; wDayOfWeek and the time are ignored.
///
/// | picture | text |
/// |---|---|
/// | d, dd | day of the month, without and with a leading zero |
/// | ddd, dddd | name of the day of the week, short and whole |
/// | M, MM | month, without and with a leading zero |
/// | MMM, MMMM | name of the month, short and whole; beside d or dd as the language inflects it |
/// | y, yy | last digit of the year, last two digits (Wine prints both for y) |
/// | yyy, yyyy | the whole year |
/// | g, gg | era: "A.D." (Wine prints "AD", once for each g) |
///
/// **Pictures of a time.** The date is ignored; milliseconds aren't printed.
///
/// | picture | text |
/// |---|---|
/// | h, hh | hour of 12, without and with a leading zero |
/// | H, HH | hour of 24 |
/// | m, mm | minute |
/// | s, ss | second |
/// | t, tt | first letter of the mark of the half day, and the whole mark; empty where the locale has none |
///
/// More letters than the table has mean the longest it has. Text between single quotes stands as it is, a
/// doubled quote in it is a quote, and a quote that isn't closed reaches to the end. All other characters stand
/// as they are. No picture is an error.
///
/// **Flags of a date**, which choose among the locale's own formats, so that with a picture each of them is refused
/// with code 1004: 1 short date (what 0 means, too), 2 long date, 8 year and month, of which only one may be
/// given; 0x80000000 takes the locale's formats without what the user changed (nothing on Linux).
///
/// **Flags of a time**, with and without a picture: 1 neither minutes nor seconds, 2 no seconds (the text before
/// them goes as well), 4 no mark of the half day (the text on both sides of it goes as well), 8 hours of 24
/// wherever there are hours; 0x80000000 as above, without a picture only.
///
/// Threads: all operations are reentrant. On Linux the environment must not be changed meanwhile, as for any reader
/// of it.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"
#include "Quoll/WindowsTypes.h"

#include <cstdint>

namespace Quoll::Utilities
{

/// Dates and times as text; see the head of this file for locales, pictures and flags.
///
/// Errors are Win32Exception with the platform's code: 87 (ERROR_INVALID_PARAMETER) for an unknown locale and for a
/// moment that doesn't exist, 1004 (ERROR_INVALID_FLAGS) for flags that don't go together or with a picture. On
/// Linux flags that aren't listed, but for Windows' 4 of a date and 0x40000000, are refused with 1004 as well.
/// std::bad_alloc may come from both.
class QUOLL_API UserLocalFormat
{
public:
    UserLocalFormat() = delete;

    /// The date by the picture `format`; if that is empty, by the locale's format that `flags` choose. A picture ends
    /// at its first NUL. Dates are those from 1601-01-01 to 30827-12-31.
    /// @throws Win32Exception  "GetDateFormatW failed", with the platform's code
    static WString GetFormatDate(const SYSTEMTIME& dateTime, std::uint32_t locale, std::uint32_t flags,
                                 const WString& format);

    /// The time by the picture `format`; if that is empty, by the locale's own format. A picture ends at its first
    /// NUL. Milliseconds are at most 999, or the time doesn't exist.
    /// @throws Win32Exception  "GetTimeFormatW failed", with the platform's code
    static WString GetFormatTime(const SYSTEMTIME& dateTime, std::uint32_t locale, std::uint32_t flags,
                                 const WString& format);
};

} // namespace Quoll::Utilities
