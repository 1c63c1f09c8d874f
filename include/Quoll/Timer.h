/// @file
/// Timers that call an action once or at regular times, on threads of the platform.
///
///     Timer heartbeat(1000, false, [&] { service.Ping(); });   // every second, until it is destroyed
///
///     Timer timeout;
///     timeout.Start(5000, true, [&] { request.Cancel(); });
///     ...
///     timeout.Stop();                          // from here on the action neither runs nor starts
///
/// TimerThread is the other kind: a thread of its own, runs that never overlap, and exceptions kept.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WindowsTypes.h"

#include <atomic>
#include <functional>

namespace Quoll::Utilities
{

/// One timer of the process's shared timer queue.
///
/// Times:    milliseconds on a clock that no change of the time of day moves. The runs of a periodic timer lie
///           on a fixed grid that begins with the first; what passed while the process didn't run is left out.
/// Threads:  the action runs on a thread of the platform's pool, and beside itself if it takes longer than the
///           period. One thread at a time starts, stops and destroys the timer; the flags may be read and set by
///           any thread, by the action as well.
/// Failures: an exception that leaves the action ends the process, and so does an empty action when its time
///           comes.
/// Stopping: Stop() and the destructor wait for runs of the action. From within the action, Stop() doesn't wait:
///           what runs goes on to its end, and nothing starts any more. The action must not destroy its timer.
/// Exit:     the shared queue ends with the static objects of the process, which waits for running actions, but
///           not for one that called exit itself, and for no longer than five seconds. Timers can't be started
///           any more then, and those that are there have stopped.
class QUOLL_API Timer
{
public:
    /// Not started, without an action.
    Timer() noexcept = default;
    /// Starts at once; see Start for the arguments and exceptions.
    Timer(int interval, bool runOnce, const std::function<void()>& action);
    /// Stops, and lets no exception out.
    ~Timer();

    Timer(const Timer&) = delete;            ///< The platform knows the timer by its address.
    Timer& operator=(const Timer&) = delete; ///< The platform knows the timer by its address.

    /// Calls the action after the interval, once or then every interval.
    ///
    /// A periodic timer with the interval 0 runs once. A negative interval stands for its value plus 2^32; -1
    /// never comes. IsDone stays as it is.
    /// Throws std::runtime_error "Timer already started." if it is, and Win32Exception
    /// "CreateTimerQueueTimer failed." with the platform's code; IsRunOnce tells the new value even then, and
    /// nothing else has changed after the first.
    void Start(int interval, bool runOnce, const std::function<void()>& action);

    /// Stops the timer, if it is started, and marks it done in any case. The action stays until the next Start.
    /// Throws Win32Exception "DeleteTimerQueueTimer failed." with the platform's code; the timer is started still
    /// and not marked then.
    void Stop();

    /// Whether it has been started and not been stopped; a timer that has run once still counts.
    bool IsRunning() const noexcept;

    /// Whether it has run once as a timer that runs once, or has been stopped, or SetDone said so.
    bool IsDone() const noexcept;
    /// Sets what IsDone tells.
    void SetDone(bool done) noexcept;

    /// Whether the action is called when it is time; true at first.
    bool IsEnabled() const noexcept;
    /// While it isn't enabled a timer fires without calling its action; one that runs once doesn't become done
    /// by that.
    void SetEnabled(bool enabled) noexcept;

    /// Whether the last Start asked for one run.
    bool IsRunOnce() const noexcept;

protected:
    /// What happens when it is time: the action runs if the timer, the `context`, is enabled, and a timer that
    /// runs once is done then. Throws what comes out of the action, std::bad_function_call if it is empty.
    static void TimerCallback(void* context, bool timedOut);

private:
    HANDLE m_timer = nullptr;
    std::function<void()> m_action;
    std::atomic<bool> m_isEnabled{true};
    std::atomic<bool> m_isDone{false};
    std::atomic<bool> m_isRunOnce{false};
};

} // namespace Quoll::Utilities
