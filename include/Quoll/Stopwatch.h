/// @file
/// Measuring how long something takes.
///
///     const Stopwatch stopwatch = Stopwatch::StartNew();
///     Scan();
///     Report(stopwatch.GetElapsed().GetTotalMilliseconds());
///
///     const ExecutionTimer timer([](const TimeSpan& time) { Report(time.GetTotalMilliseconds()); });
#pragma once

#include "Quoll/Api.h"
#include "Quoll/TimeSpan.h"
#include "Quoll/UtcTime.h"

#include <functional>

namespace Quoll::Utilities
{

/// Adds up the time from each start to the next stop.
///
/// It measures by a clock that never goes back, whatever becomes of the time of day, and that goes on while the
/// machine sleeps; its resolution is a tick of TimeSpan. Nothing throws. A plain value without a lock.
class QUOLL_API Stopwatch
{
public:
    /// Stands still at no time.
    Stopwatch() noexcept = default;
    /// One that runs from now on.
    static Stopwatch StartNew() noexcept;

    /// Runs on. Nothing happens if it runs already.
    void Start() noexcept;
    /// Stands still. Nothing happens if it stands already.
    void Stop() noexcept;
    /// Stands still at no time.
    void Reset() noexcept;
    /// Runs on from no time.
    void Restart() noexcept;
    /// Whether it runs.
    bool IsRunning() const noexcept;
    /// The time measured so far, that since the last start included.
    TimeSpan GetElapsed() const noexcept;

private:
    UtcTime m_start; // on a time scale of the clock's own
    TimeSpan m_elapsed;
    bool m_isRunning = false;
};

/// Measures its own lifetime, and tells it when it ends.
class QUOLL_API ExecutionTimer
{
public:
    /// What is told the time. It is called once, by the thread that destroys the timer; what it throws is lost.
    using Callback = std::function<void(const TimeSpan&)>;

    /// Measures from now on. Without a callback nobody is told.
    explicit ExecutionTimer(Callback callback) noexcept;
    ExecutionTimer(const ExecutionTimer&) = delete;            ///< A lifetime is told once.
    ExecutionTimer& operator=(const ExecutionTimer&) = delete; ///< A lifetime is told once.
    ~ExecutionTimer();

    /// The time measured so far.
    TimeSpan GetElapsed() const noexcept;

private:
    Callback m_callback;
    Stopwatch m_stopwatch;
};

} // namespace Quoll::Utilities
