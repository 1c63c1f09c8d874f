// The timer queue that all timers of the process share, and its end.
//
// The queue is made at the first need and ends with the static objects. That must not hang, whatever the
// callbacks do at that moment: one may have called exit itself, another may wait for what the exiting thread
// holds, and on Windows all of their threads may be gone already. So callbacks are counted here.
#pragma once

#include "platform/process_end.h"

#include <atomic>

#include <windows.h>

namespace Quoll::Utilities
{

class SharedTimerQueue
{
public:
    /// The queue, made now if this is the first call; null, which is the platform's default queue, if it
    /// couldn't be made. Not once it IsGone.
    static HANDLE Get()
    {
        return exists ? queue : Create();
    }

    /// Whether its timers are gone with it, so that the platform doesn't know their handles any more.
    static bool IsGone() noexcept
    {
        return Platform::AreOtherThreadsGone() || hasEnded;
    }

private:
    class Owner;

    static HANDLE Create();

    static inline constinit std::atomic<bool> exists{false};
    static inline constinit std::atomic<bool> hasEnded{false};
    static inline constinit HANDLE queue = nullptr;
};

/// Stands while a callback runs for a timer.
class TimerRun
{
public:
    explicit TimerRun(const void* timer) noexcept;
    TimerRun(const TimerRun&) = delete;
    TimerRun& operator=(const TimerRun&) = delete;
    ~TimerRun();

    /// False if the queue has begun to end: the timer may be gone already.
    bool IsWanted() const noexcept
    {
        return m_isWanted;
    }

    /// Whether the calling thread runs a callback for this timer.
    static bool IsOfThisThread(const void* timer) noexcept;

private:
    bool m_isWanted;
};

} // namespace Quoll::Utilities
