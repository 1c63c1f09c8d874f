// Timers, their queues, and who is told when one of them is gone.
#pragma once

#include "platform/linux/Event.h"
#include "platform/linux/RecordTable.h"
#include "platform/linux/ThreadRecord.h"
#include "platform/linux/TimerHeap.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace Quoll::Platform
{

/// A thread that waits for callbacks to end; lives on its stack.
struct EndWaiter
{
    ThreadRecord& thread;
    std::uint32_t own = 0; // callbacks that it doesn't wait for, because it runs them itself
    std::atomic<bool> ended{false};
};

/// Whom a deletion tells once the callbacks have ended.
class Completion
{
public:
    Completion() noexcept = default;
    explicit Completion(Ref<Event> event) noexcept
        : m_event(std::move(event))
    {
    }
    explicit Completion(EndWaiter& waiter) noexcept
        : m_waiter(&waiter)
    {
    }

    /// Takes over whom to tell if no more callbacks run than a waiter runs itself.
    Completion TakeIfEnded(std::uint32_t running) noexcept
    {
        const bool ended = running <= (m_waiter != nullptr ? m_waiter->own : 0);
        return ended ? std::exchange(*this, Completion()) : Completion();
    }
    /// Without the timers' lock.
    void Tell() const noexcept
    {
        if (m_event)
        {
            m_event->Set();
        }
        if (m_waiter != nullptr)
        {
            ThreadRecord& thread = m_waiter->thread; // the waiter goes as soon as it knows
            m_waiter->ended.store(true, std::memory_order_release);
            thread.parker.Unpark();
        }
    }

private:
    Ref<Event> m_event;
    EndWaiter* m_waiter = nullptr;
};

struct QueueTimer;

struct TimerQueue : TableEntry<TimerQueue>
{
    QueueTimer* first = nullptr;
    std::uint32_t running = 0; // callbacks
    bool deleted = false;
    Completion completion;
};

struct QueueTimer : TableEntry<QueueTimer>
{
    WAITORTIMERCALLBACK callback = nullptr;
    void* context = nullptr;
    std::int64_t due = 0;    // on the monotonic clock, in nanoseconds
    std::int64_t period = 0; // nanoseconds; 0 is none
    TimerQueue* queue = nullptr;
    QueueTimer* previous = nullptr; // of the queue
    QueueTimer* next = nullptr;
    std::uint32_t place = TimerHeap::nowhere;
    std::uint32_t running = 0; // callbacks
    bool deleted = false;
    Completion completion;
};

} // namespace Quoll::Platform
