// The shifts from UTC to local time of one record of a zone, by the moments for which they hold.
#pragma once

#include "platform/linux/Calendar.h"

#include <windows.h>

#include <array>

namespace Quoll::Platform
{

/// Says of a moment what SystemTimeToTzSpecificLocalTime says, without its calendar: years of a
/// century are cut into equal spans of ticks, and each span has one change of the clocks at the most.
class LocalShifts
{
public:
    explicit LocalShifts(const TIME_ZONE_INFORMATION& zone);

    /// From UTC to local time, both in ticks, local in whole milliseconds. False for a moment outside of the
    /// years, or of a span that has more changes.
    bool Convert(std::uint64_t ticks, std::uint64_t& local) const noexcept
    {
        const std::uint64_t index = (ticks - FirstTick) >> SpanBits;
        if (index >= SpanCount)
        {
            return false;
        }
        const Span& span = m_spans[index];
        const std::int32_t minutes = ticks < span.change ? span.before : span.after;
        local = ticks - ticks % TicksPerMillisecond - static_cast<std::uint64_t>(minutes * TicksPerMinute);
        return minutes != Unknown;
    }

private:
    static constexpr std::int64_t TicksPerMinute = 600'000'000;
    static constexpr unsigned SpanBits = 46; // 81 days
    static constexpr std::size_t SpanCount = 512;
    static constexpr std::uint64_t FirstTick = DaysToUnixEpoch * TicksPerDay;
    static constexpr std::int32_t Unknown = INT32_MIN;

    // Biases in minutes, before and after the one change.
    struct Span
    {
        std::uint64_t change = 0;
        std::int32_t before = Unknown;
        std::int32_t after = Unknown;
    };

    std::array<Span, SpanCount> m_spans;
};

} // namespace Quoll::Platform
