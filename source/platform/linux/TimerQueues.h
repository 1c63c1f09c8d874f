// The timer queues of the process.
//
// One heap holds the timers of all queues. Helper threads serve it in turns: the leader sleeps until the first
// due time and runs the callback itself, so that no change of threads stands between the two. A deputy gets up
// a moment later and takes the lead if the leader's callback goes on. There are callbacks, and threads, as
// many as have to run at once; those that begin together only as many as there are processors, until
// one of them has run for a while.
#pragma once

#include "platform/helper_threads.h"
#include "platform/linux/TimerRecords.h"

#include <mutex>

namespace Quoll::Platform
{

class TimerQueues
{
public:
    static TimerQueues& Instance() noexcept;

    // As the calls are declared, with their arguments checked as far as the tables aren't needed.
    HANDLE CreateQueue() noexcept;
    BOOL DeleteQueue(HANDLE handle, HANDLE completionEvent) noexcept;
    BOOL CreateTimer(HANDLE& timer, HANDLE queue, WAITORTIMERCALLBACK callback, void* context, DWORD dueTime,
                     DWORD period) noexcept;
    BOOL DeleteTimer(HANDLE queue, HANDLE handle, HANDLE completionEvent) noexcept;

private:
    using Guard = std::unique_lock<std::mutex>;

    /// A thread that sleeps until something is due.
    struct Sleeper
    {
        ThreadRecord& thread;
        std::int64_t until;
    };

    /// A callback that runs; on the stack of its thread.
    struct Run
    {
        QueueTimer& timer;
        const std::int64_t begun;
        Run* previous;
        Run* next;
    };

    /// What has to happen, without the lock, for the first timer to be served.
    struct Alert
    {
        ThreadRecord* sleeper = nullptr; // wakes up
        bool arrival = false;            // another thread comes
    };

    struct Arrival : HelperWork
    {
        TimerQueues* queues = nullptr;
    };

    TimerQueues() noexcept;

    // With the lock held:
    TimerQueue* FindQueue(HANDLE handle) noexcept;
    QueueTimer* OpenTimer(TimerQueue& queue) noexcept; // null without memory
    void Abolish(QueueTimer& timer) noexcept;          // its handle is dead, and it doesn't fire again
    void Forget(QueueTimer& timer) noexcept;           // it is gone if no callback of it runs
    void Forget(TimerQueue& queue) noexcept;           // likewise
    Alert ServeFirst() noexcept;
    std::int64_t MayFireAt(std::int64_t now) const noexcept;
    void Postpone(QueueTimer& first, std::int64_t now) noexcept; // to its next time, or to none

    // With the lock held, which they let go of meanwhile:
    bool SleepUntil(std::int64_t moment, Guard& guard) noexcept; // false if enough threads sleep
    void FireFirst(std::int64_t now, Guard& guard) noexcept;
    void End(Run& run, Guard& guard) noexcept;

    bool Raise(const Alert& alert) noexcept;
    void Serve() noexcept;

    const std::size_t m_processors;
    std::mutex m_lock; // guards all that follows
    RecordTable<QueueTimer, 1> m_timers;
    RecordTable<TimerQueue, 2> m_queues;
    TimerQueue m_default;
    TimerHeap m_heap;
    Sleeper* m_leader = nullptr;
    Sleeper* m_deputy = nullptr;
    Run* m_lastRun = nullptr; // in the order of their beginning
    Arrival m_arrival;
    bool m_arriving = false;
};

/// The timer whose callback the calling thread runs; null if it doesn't.
QueueTimer* TimerOfThisThread() noexcept;

} // namespace Quoll::Platform
