#include "Quoll/Stopwatch.h"

#include "time/LocalTime.h"

#include <windows.h>

#include <utility>

namespace Quoll::Utilities
{

namespace
{

// On a scale that begins when the machine did. Seconds and the rest are converted one by one, since years of
// counts times a second's ticks would overflow.
UtcTime ReadClock() noexcept
{
    LARGE_INTEGER count;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    const std::int64_t seconds = count.QuadPart / frequency.QuadPart;
    const std::int64_t rest = count.QuadPart % frequency.QuadPart;
    const std::int64_t ticks = seconds * TimeSpan::SECOND + rest * TimeSpan::SECOND / frequency.QuadPart;
    return {ToFileTime(static_cast<std::uint64_t>(ticks)), false};
}

} // namespace

Stopwatch Stopwatch::StartNew() noexcept
{
    Stopwatch stopwatch;
    stopwatch.Start();
    return stopwatch;
}

void Stopwatch::Start() noexcept
{
    if (!m_isRunning)
    {
        m_isRunning = true;
        m_start = ReadClock();
    }
}

void Stopwatch::Stop() noexcept
{
    m_elapsed = GetElapsed();
    m_isRunning = false;
}

void Stopwatch::Reset() noexcept
{
    *this = Stopwatch();
}

void Stopwatch::Restart() noexcept
{
    *this = StartNew();
}

bool Stopwatch::IsRunning() const noexcept
{
    return m_isRunning;
}

TimeSpan Stopwatch::GetElapsed() const noexcept
{
    TimeSpan elapsed = m_elapsed;
    if (m_isRunning)
    {
        elapsed += ReadClock() - m_start;
    }
    return elapsed;
}

ExecutionTimer::ExecutionTimer(Callback callback) noexcept
    : m_callback(std::move(callback))
    , m_stopwatch(Stopwatch::StartNew())
{
}

ExecutionTimer::~ExecutionTimer()
{
    if (!m_callback)
    {
        return;
    }
    try
    {
        m_callback(GetElapsed());
    }
    catch (...) // NOLINT(bugprone-empty-catch): there is nobody left to tell
    {
    }
}

TimeSpan ExecutionTimer::GetElapsed() const noexcept
{
    return m_stopwatch.GetElapsed();
}

} // namespace Quoll::Utilities
