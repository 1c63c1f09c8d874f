/// @file
/// Moments in time.
///
///     using namespace Quoll::Literals;
///     const UtcTime begin("2021-03-04T05:06:07"_w, UtcTime::StringValue::Iso8601T, false);
///     const TimeSpan age = UtcTime::Now() - begin;
///     std::wcout << begin.ToString(UtcTime::StringValue::Iso8601Blank, true);
#pragma once

#include "Quoll/Api.h"
#include "Quoll/TimeSpan.h"
#include "Quoll/WideString.h"
#include "Quoll/WindowsTypes.h"

#include <compare>
#include <cstdint>

namespace Quoll::Utilities
{

/// A moment, in ticks of 100 nanoseconds since 1601-01-01 00:00:00 UTC, as Windows' file times count them.
/// No ticks mean that no time is set: the moment is empty.
///
/// What is stored is always UTC. In most conversions a flag `isLocal` says what goes in or comes out: true means
/// local time of the machine's current zone, false UTC. The zone's present rules are taken for every year. Of
/// the hour that comes twice in autumn a local time is the first one; a local time that is skipped in spring is
/// read by the clock that begins there. What passes through calendar fields, as all local times do, keeps whole
/// milliseconds. Calendar fields reach from 1601 to 30827; the day of the week is never read.
///
/// On Linux the zone is that of `TZ`, else `/etc/localtime`; a process with more rights than its user ignores `TZ`.
///
/// Failures are Win32Exception with the platform's code, 87 (ERROR_INVALID_PARAMETER) for a moment that can't be
/// told in the form asked for; std::invalid_argument for text and enumerators; std::runtime_error for
/// what the platform should never answer. Operations that set a time leave the object as it was when they
/// fail. Objects are plain values: concurrent use of one needs a lock outside.
class QUOLL_API UtcTime
{
public:
    /// Forms of text.
    enum class StringValue
    {
        FileTimeHex,  ///< 16 lower-case hexadecimal digits of the ticks.
        Iso8601Blank, ///< `yyyy-MM-dd HH:mm:ss`
        Iso8601T      ///< `yyyy-MM-ddTHH:mm:ss`
    };

    /// Where this moment lies.
    enum class FileTimeCompare
    {
        Earlier, ///< Before the other.
        Equal,   ///< At the other.
        Later    ///< After the other.
    };

    /// Whose locale is taken.
    enum class LocaleUserAccount
    {
        LocaleNeutral,  ///< Locale 0.
        LocaleSystem,   ///< Locale 0x800, the system's default.
        LocaleUser,     ///< Locale 0x400, the user's default.
        LocaleInvariant ///< Locale 0x7F.
    };

    /// The empty moment.
    UtcTime() noexcept = default;
    /// The moment of a file time; 0 is the empty one, whatever `isLocal` says. A local time whose UTC equivalent
    /// lies before 1601, by the zone's present bias, gives the empty moment as well.
    /// @throws Win32Exception  "Can't convert file time to system time", "Can't convert from local time to utc time",
    ///                         "Can't convert system time to file time", "GetTimeZoneInformation failed"; all for
    ///                         local times only
    UtcTime(const FILETIME& fileTime, bool isLocal);
    /// The moment of calendar fields.
    /// @throws Win32Exception  "Can't convert system time to file time" for fields that name no moment;
    ///                         "Can't convert from local time to utc time", "GetTimeZoneInformation failed"
    UtcTime(const SYSTEMTIME& systemTime, bool isLocal);
    /// The moment of a text.
    ///
    /// `FileTimeHex`: up to 8 hexadecimal digits of the upper half, then up to 8 of the lower one, as a scan with
    /// "%08x%08x" takes them: each half may have white space, a sign and "0x" before it, what follows is ignored.
    ///
    /// Else an ISO 8601 text that IsISO8601DateTime accepts. Year, month, day, hour, minute and second are read at
    /// the indexes 0, 5, 8, 11, 14 and 17, whatever stands there; a field without digits is 0. Fractions and
    /// the zone in the text are ignored.
    /// @throws std::invalid_argument  "unknown argument value" for the form; "Is not a valid ISO8601 string";
    ///                                "Can't convert empty hex value to utc object",
    ///                                "Can't convert value: ... to utc object"
    /// @throws std::out_of_range  "invalid string position": the text ends before a field begins, as in "2021-03-04"
    /// @throws Win32Exception  as for calendar fields or a file time
    UtcTime(const WString& text, StringValue form, bool isLocal);
    /// The moment of a count of seconds since 1970. 0 is the empty moment. Of the count the low 32 bits are taken
    /// as a signed number: 2^31 lies in 1901, 2^32 in 1970.
    /// @throws Win32Exception  as for a file time
    UtcTime(const std::int64_t& unixSeconds, bool isLocal);
    /// The moment of calendar fields.
    /// @throws Win32Exception  as for a SYSTEMTIME
    UtcTime(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour, std::uint16_t minute,
            std::uint16_t second, std::uint16_t millisecond, bool isLocal);

    /// The present, in whole milliseconds.
    static UtcTime Now();
    /// Whether the text as a whole has one of these forms of ISO 8601, where "." is any unit but a line's end and
    /// ( )* may come any number of times:
    ///
    ///     yyyy[-]MM[-]dd( [ ,T]HH:mm:ss(.fff)* )*( [+-]hh.mm | Z )*
    ///     HH:mm:ss(.fff)*( [+-]hh.mm | Z )*
    ///
    /// The second one is tried if the third unit is ":", the first one otherwise. Digits aren't looked at as numbers.
    /// Takes time in proportion to the text.
    static bool IsISO8601DateTime(const WString& text);
    /// Whether there is such a moment between 1601 and 30827.
    static bool IsValid(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour,
                        std::uint16_t minute, std::uint16_t second) noexcept;

    /// Whether both are the same moment.
    bool operator==(const UtcTime& other) const noexcept = default;
    /// Earlier moments come first, the empty one before all.
    std::strong_ordering operator<=>(const UtcTime& other) const noexcept = default;
    /// The time since the other moment, negative if that is later.
    TimeSpan operator-(const UtcTime& other) const noexcept;

    /// Moves on by days, or back by a negative number. Wraps around at 64 bits.
    void AddDays(int days) noexcept;
    /// Moves on by milliseconds. Wraps around at 64 bits.
    void AddMilliseconds(std::uint64_t milliseconds) noexcept;
    /// Moves on by seconds. Wraps around at 64 bits.
    void AddSeconds(std::uint32_t seconds) noexcept;
    /// Moves back by days. What would come to 1601 or before is the empty moment.
    void SubDays(std::uint64_t days) noexcept;
    /// Moves back by milliseconds. What would come to 1601 or before is the empty moment.
    void SubMilliseconds(std::uint64_t milliseconds) noexcept;

    /// Compares this moment, told as a local or a UTC file time, with the file time as it is.
    /// @throws Win32Exception  as GetFileTime
    /// @throws std::runtime_error  "Unknown return value"
    FileTimeCompare CompareToFileTime(const FILETIME& other, bool isLocal) const;

    /// The moment as a file time.
    /// @throws Win32Exception  for local times: "Can't convert file time to system time",
    ///                         "Can't convert utc system time to local system time",
    ///                         "Can't convert local system time to local file time", "GetTimeZoneInformation failed"
    FILETIME GetFileTime(bool isLocal) const;
    /// The moment as calendar fields. The empty moment is 1601-01-01, where the zone allows it.
    /// @throws Win32Exception  as GetFileTime; "Can't convert file time to system time"
    SYSTEMTIME GetSystemTime(bool isLocal) const;
    std::uint16_t GetYear(bool isLocal) const;         ///< A field of GetSystemTime.
    std::uint16_t GetMonth(bool isLocal) const;        ///< A field of GetSystemTime, from 1.
    std::uint16_t GetDay(bool isLocal) const;          ///< A field of GetSystemTime, from 1.
    std::uint16_t GetHour(bool isLocal) const;         ///< A field of GetSystemTime, of 24.
    std::uint16_t GetMinute(bool isLocal) const;       ///< A field of GetSystemTime.
    std::uint16_t GetSecond(bool isLocal) const;       ///< A field of GetSystemTime.
    std::uint16_t GetMilliseconds(bool isLocal) const; ///< A field of GetSystemTime.
    /// The fields of one GetSystemTime.
    /// @throws Win32Exception  as GetSystemTime
    void GetTime(std::uint16_t& year, std::uint16_t& month, std::uint16_t& day, std::uint16_t& hour,
                 std::uint16_t& minute, std::uint16_t& second, std::uint16_t& millisecond, bool isLocal) const;
    /// The ticks.
    std::uint64_t GetTime() const noexcept;
    /// The whole seconds since 1970; of the empty moment -11644473600.
    /// @throws Win32Exception  as GetFileTime
    std::int64_t GetUnixTimestamp(bool isLocal) const;
    /// From 1, a second before midnight, to 86400, at midnight.
    /// @throws Win32Exception  as GetFileTime
    std::int64_t GetSecondsUntilMidnight(bool isLocal) const;
    /// Whether no time is set.
    bool IsEmpty() const noexcept;

    /// The short date as the locale writes it.
    /// @throws Win32Exception  as GetSystemTime and UserLocalFormat
    /// @throws std::runtime_error  "Invalid locale account information"
    WString ToLocalDateString(LocaleUserAccount locale, bool isLocal) const;
    /// The time as the locale writes it; `flags` are those of UserLocalFormat::GetFormatTime.
    /// @throws Win32Exception  as GetSystemTime and UserLocalFormat
    /// @throws std::runtime_error  "Invalid locale account information"
    WString ToLocalTimeString(LocaleUserAccount locale, bool isLocal, unsigned int flags) const;
    /// Short date, separator, and time.
    /// @throws Win32Exception  as GetSystemTime and UserLocalFormat
    /// @throws std::runtime_error  "Invalid locale account information"
    WString ToLocalString(const WString& separator, LocaleUserAccount locale, bool isLocal) const;
    /// The date, the separator, and the time, by pictures of UserLocalFormat in the invariant locale. An empty picture
    /// of the date is that locale's own short date; an empty one of the time prints none, but the separator stands.
    /// @throws Win32Exception  as GetSystemTime and UserLocalFormat
    WString ToString(const WString& dateFormat, const WString& separator, const WString& timeFormat,
                     bool isLocal) const;
    /// A form that the constructor reads. Neither a fraction nor a zone is written.
    /// @throws Win32Exception  as GetSystemTime; "GetDateFormatW failed" for an ISO 8601 text of a year behind 30827
    /// @throws std::invalid_argument  "unknown argument value" for the form
    /// @throws std::runtime_error  "Can't creat hex string. Errno: ..."
    WString ToString(StringValue form, bool isLocal) const;

protected:
    void SetTime(const FILETIME& fileTime, bool isLocal);     ///< As the constructor.
    void SetTime(const SYSTEMTIME& systemTime, bool isLocal); ///< As the constructor.
    void SetTime(std::int64_t unixSeconds, bool isLocal);     ///< As the constructor.
    /// As the constructor.
    void SetTime(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour, std::uint16_t minute,
                 std::uint16_t second, std::uint16_t millisecond, bool isLocal);
    void SetTimeAsFileTimeHex(const WString& text, bool isLocal); ///< As the constructor.
    void SetTimeAsISO8601(const WString& text, bool isLocal);     ///< As the constructor.
    /// The short date of calendar fields.
    static WString ToLocalDateString(const SYSTEMTIME& systemTime, LocaleUserAccount locale);
    /// The time of calendar fields.
    static WString ToLocalTimeString(const SYSTEMTIME& systemTime, LocaleUserAccount locale, unsigned int flags);
    /// The identifier of the locale.
    /// @throws std::runtime_error  "Invalid locale account information"
    static std::uint32_t GetLocale(LocaleUserAccount locale);

private:
    std::uint64_t m_ticks = 0;
};

} // namespace Quoll::Utilities
