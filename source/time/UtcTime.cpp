#include "Quoll/UtcTime.h"

#include "Quoll/Errors.h"
#include "time/LocalTime.h"

#include <windows.h>

#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

constexpr std::int64_t SecondsPerDay = 86400;
constexpr std::uint64_t TicksPerMillisecond = TimeSpan::MILLISECOND;
constexpr std::uint64_t TicksPerSecond = TimeSpan::SECOND;
constexpr std::uint64_t TicksPerDay = TimeSpan::DAY;
constexpr std::int64_t UnixEpochTicks = 116444736000000000;
constexpr std::int64_t UnixEpochSeconds = 11644473600;

} // namespace

UtcTime::UtcTime(const FILETIME& fileTime, bool isLocal)
{
    SetTime(fileTime, isLocal);
}

UtcTime::UtcTime(const SYSTEMTIME& systemTime, bool isLocal)
{
    SetTime(systemTime, isLocal);
}

UtcTime::UtcTime(const WString& text, StringValue form, bool isLocal)
{
    switch (form)
    {
    case StringValue::FileTimeHex:
        SetTimeAsFileTimeHex(text, isLocal);
        break;
    case StringValue::Iso8601Blank:
    case StringValue::Iso8601T:
        SetTimeAsISO8601(text, isLocal);
        break;
    default:
        throw std::invalid_argument("unknown argument value");
    }
}

UtcTime::UtcTime(const std::int64_t& unixSeconds, bool isLocal)
{
    SetTime(unixSeconds, isLocal);
}

UtcTime::UtcTime(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour, std::uint16_t minute,
                 std::uint16_t second, std::uint16_t millisecond, bool isLocal)
{
    SetTime(year, month, day, hour, minute, second, millisecond, isLocal);
}

UtcTime UtcTime::Now()
{
    SYSTEMTIME present;
    ::GetSystemTime(&present);
    return {present, false};
}

bool UtcTime::IsValid(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour,
                      std::uint16_t minute, std::uint16_t second) noexcept
{
    const SYSTEMTIME systemTime{year, month, 0, day, hour, minute, second, 0};
    FILETIME ignored;
    return SystemTimeToFileTime(&systemTime, &ignored) != FALSE;
}

TimeSpan UtcTime::operator-(const UtcTime& other) const noexcept
{
    return TimeSpan(static_cast<std::int64_t>(m_ticks - other.m_ticks));
}

void UtcTime::AddDays(int days) noexcept
{
    m_ticks += static_cast<std::uint64_t>(std::int64_t{days}) * TicksPerDay;
}

void UtcTime::AddMilliseconds(std::uint64_t milliseconds) noexcept
{
    m_ticks += milliseconds * TicksPerMillisecond;
}

void UtcTime::AddSeconds(std::uint32_t seconds) noexcept
{
    m_ticks += seconds * TicksPerSecond;
}

void UtcTime::SubDays(std::uint64_t days) noexcept
{
    SubMilliseconds(days * TicksPerDay / TicksPerMillisecond);
}

void UtcTime::SubMilliseconds(std::uint64_t milliseconds) noexcept
{
    const std::uint64_t ticks = milliseconds * TicksPerMillisecond;
    m_ticks = ticks >= m_ticks ? 0 : m_ticks - ticks;
}

UtcTime::FileTimeCompare UtcTime::CompareToFileTime(const FILETIME& other, bool isLocal) const
{
    const FILETIME fileTime = GetFileTime(isLocal);
    switch (CompareFileTime(&fileTime, &other))
    {
    case -1:
        return FileTimeCompare::Earlier;
    case 0:
        return FileTimeCompare::Equal;
    case 1:
        return FileTimeCompare::Later;
    default:
        throw std::runtime_error("Unknown return value");
    }
}

FILETIME UtcTime::GetFileTime(bool isLocal) const
{
    const FILETIME fileTime = ToFileTime(m_ticks);
    return isLocal ? ToLocalFileTime(fileTime) : fileTime;
}

SYSTEMTIME UtcTime::GetSystemTime(bool isLocal) const
{
    SYSTEMTIME systemTime;
    ReadSystemTime(m_ticks, isLocal, systemTime);
    return systemTime;
}

std::uint16_t UtcTime::GetYear(bool isLocal) const
{
    return GetSystemTime(isLocal).wYear;
}

std::uint16_t UtcTime::GetMonth(bool isLocal) const
{
    return GetSystemTime(isLocal).wMonth;
}

std::uint16_t UtcTime::GetDay(bool isLocal) const
{
    return GetSystemTime(isLocal).wDay;
}

std::uint16_t UtcTime::GetHour(bool isLocal) const
{
    return GetSystemTime(isLocal).wHour;
}

std::uint16_t UtcTime::GetMinute(bool isLocal) const
{
    return GetSystemTime(isLocal).wMinute;
}

std::uint16_t UtcTime::GetSecond(bool isLocal) const
{
    return GetSystemTime(isLocal).wSecond;
}

std::uint16_t UtcTime::GetMilliseconds(bool isLocal) const
{
    return GetSystemTime(isLocal).wMilliseconds;
}

void UtcTime::GetTime(std::uint16_t& year, std::uint16_t& month, std::uint16_t& day, std::uint16_t& hour,
                      std::uint16_t& minute, std::uint16_t& second, std::uint16_t& millisecond, bool isLocal) const
{
    const SYSTEMTIME systemTime = GetSystemTime(isLocal);
    year = systemTime.wYear;
    month = systemTime.wMonth;
    day = systemTime.wDay;
    hour = systemTime.wHour;
    minute = systemTime.wMinute;
    second = systemTime.wSecond;
    millisecond = systemTime.wMilliseconds;
}

std::uint64_t UtcTime::GetTime() const noexcept
{
    return m_ticks;
}

std::int64_t UtcTime::GetUnixTimestamp(bool isLocal) const
{
    return static_cast<std::int64_t>(ToTicks(GetFileTime(isLocal)) / TicksPerSecond) - UnixEpochSeconds;
}

std::int64_t UtcTime::GetSecondsUntilMidnight(bool isLocal) const
{
    // 1601 began at midnight as well.
    return SecondsPerDay - (GetUnixTimestamp(isLocal) + UnixEpochSeconds) % SecondsPerDay;
}

bool UtcTime::IsEmpty() const noexcept
{
    return m_ticks == 0;
}

void UtcTime::SetTime(const FILETIME& fileTime, bool isLocal)
{
    const std::uint64_t ticks = ToTicks(fileTime);
    m_ticks = isLocal && ticks != 0 ? ToUtcTicks(fileTime) : ticks;
}

void UtcTime::SetTime(const SYSTEMTIME& systemTime, bool isLocal)
{
    m_ticks = ToTicks(systemTime, isLocal);
}

void UtcTime::SetTime(std::int64_t unixSeconds, bool isLocal)
{
    if (unixSeconds == 0)
    {
        m_ticks = 0;
        return;
    }
    // Clients rely on it: only the low 32 bits count.
    const std::int64_t seconds = static_cast<std::int32_t>(unixSeconds);
    const std::int64_t ticks = seconds * TimeSpan::SECOND + UnixEpochTicks;
    SetTime(ToFileTime(static_cast<std::uint64_t>(ticks)), isLocal);
}

void UtcTime::SetTime(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour,
                      std::uint16_t minute, std::uint16_t second, std::uint16_t millisecond, bool isLocal)
{
    SetTime(SYSTEMTIME{year, month, 0, day, hour, minute, second, millisecond}, isLocal);
}

} // namespace Quoll::Utilities
