/// @file
/// Differences of time.
#pragma once

#include <compare>
#include <cstdint>

namespace Quoll::Utilities
{

/// A length of time, which may be negative, in ticks of 100 nanoseconds.
///
/// A plain value: nothing throws, and objects have no lock. Sums and differences wrap around at 64 bits.
class TimeSpan
{
public:
    static constexpr std::int64_t MILLISECOND = 10'000;  ///< The ticks of a millisecond.
    static constexpr std::int64_t SECOND = 10'000'000;   ///< The ticks of a second.
    static constexpr std::int64_t MINUTE = 600'000'000;  ///< The ticks of a minute.
    static constexpr std::int64_t HOUR = 36'000'000'000; ///< The ticks of an hour.
    static constexpr std::int64_t DAY = 864'000'000'000; ///< The ticks of a day.

    /// No time.
    constexpr TimeSpan() noexcept = default;
    /// So many ticks.
    constexpr explicit TimeSpan(std::int64_t ticks) noexcept
        : m_ticks(ticks)
    {
    }

    /// Adds the other span. The object itself is not added: `s += s` leaves `s` as it is.
    constexpr TimeSpan& operator+=(const TimeSpan& other) noexcept
    {
        if (this != &other)
        {
            m_ticks = static_cast<std::int64_t>(static_cast<std::uint64_t>(m_ticks) +
                                                static_cast<std::uint64_t>(other.m_ticks));
        }
        return *this;
    }
    /// Subtracts the other span. The object itself is not subtracted: `s -= s` leaves `s` as it is.
    constexpr TimeSpan& operator-=(const TimeSpan& other) noexcept
    {
        if (this != &other)
        {
            m_ticks = static_cast<std::int64_t>(static_cast<std::uint64_t>(m_ticks) -
                                                static_cast<std::uint64_t>(other.m_ticks));
        }
        return *this;
    }
    /// Whether both are equally long.
    constexpr bool operator==(const TimeSpan& other) const noexcept = default;
    /// Shorter spans, and negative ones, come first.
    constexpr std::strong_ordering operator<=>(const TimeSpan& other) const noexcept = default;

    /// The number of ticks.
    constexpr std::int64_t GetTicks() const noexcept
    {
        return m_ticks;
    }
    /// The number of whole days, towards zero; of more than 32 bits the lower ones.
    constexpr int GetTotalDays() const noexcept
    {
        return static_cast<int>(m_ticks / DAY);
    }
    /// The number of whole milliseconds, towards zero.
    constexpr std::int64_t GetTotalMilliseconds() const noexcept
    {
        return m_ticks / MILLISECOND;
    }

private:
    std::int64_t m_ticks = 0;
};

/// Turns whole counts of one unit of time into another. Divisions go towards zero, and products wrap
/// around at 64 bits. Nothing throws.
class TimeUnitConverter
{
public:
    TimeUnitConverter() = delete;

    /// 24 hours a day.
    static constexpr std::int64_t DaysToHours(std::int64_t days) noexcept
    {
        return Multiply(days, 24);
    }
    /// 3600 seconds an hour.
    static constexpr std::int64_t HoursToSeconds(std::int64_t hours) noexcept
    {
        return Multiply(hours, 3600);
    }
    /// 60 seconds a minute.
    static constexpr std::int64_t MinutesToSeconds(std::int64_t minutes) noexcept
    {
        return Multiply(minutes, 60);
    }
    /// 86400 seconds a day.
    static constexpr std::int64_t SecondsToDays(std::int64_t seconds) noexcept
    {
        return seconds / 86400;
    }
    /// 3600 seconds an hour.
    static constexpr std::int64_t SecondsToHours(std::int64_t seconds) noexcept
    {
        return seconds / 3600;
    }
    /// 60 seconds a minute.
    static constexpr std::int64_t SecondsToMinutes(std::int64_t seconds) noexcept
    {
        return seconds / 60;
    }
    /// 1000 milliseconds a second. The result is unsigned: -1 gives 2^64 - 1000.
    static constexpr std::uint64_t SecondsToMilliseconds(std::int64_t seconds) noexcept
    {
        return static_cast<std::uint64_t>(seconds) * 1000;
    }

private:
    static constexpr std::int64_t Multiply(std::int64_t count, std::uint64_t factor) noexcept
    {
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(count) * factor);
    }
};

} // namespace Quoll::Utilities
