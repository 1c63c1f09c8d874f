// Timer queues and their timers: creation and deletion.
#include "platform/linux/TimerQueues.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/HandleTable.h"

namespace Quoll::Platform
{
namespace
{

constexpr std::int64_t millisecond = 1'000'000;

/// What the caller of a deletion wants to know of its end.
class EndNotice
{
public:
    /// False with the last error for a handle that is no event.
    bool Prepare(HANDLE completionEvent) noexcept
    {
        m_waits = completionEvent == INVALID_HANDLE_VALUE;
        if (completionEvent != nullptr && !m_waits)
        {
            const Pinned<Event> event(completionEvent);
            if (!event)
            {
                return false;
            }
            m_event = Ref<Event>(&*event);
        }
        return true;
    }
    /// Leaves word to be told when the callbacks have ended, unless they have. With the lock held.
    void Leave(Completion& completion, std::uint32_t running, bool runsOneItself) noexcept
    {
        m_waiter.own = runsOneItself ? 1 : 0;
        m_ended = running <= (m_waits ? m_waiter.own : 0);
        if (!m_ended)
        {
            completion = m_waits ? Completion(m_waiter) : Completion(m_event);
        }
    }
    /// The call's result. Without the lock.
    BOOL Finish() noexcept
    {
        if (m_ended && m_event)
        {
            m_event->Set();
        }
        if (!m_ended && !m_waits)
        {
            return Fail(ERROR_IO_PENDING);
        }
        while (!m_ended && !m_waiter.ended.load(std::memory_order_acquire))
        {
            m_waiter.thread.parker.Park(Deadline());
        }
        return TRUE;
    }

private:
    Ref<Event> m_event;
    EndWaiter m_waiter{ThreadRecord::Current()};
    bool m_waits = false;
    bool m_ended = false;
};

} // namespace

TimerQueues& TimerQueues::Instance() noexcept
{
    static auto& queues = *new TimerQueues; // outlives static destruction
    return queues;
}

HANDLE TimerQueues::CreateQueue() noexcept
{
    const Guard guard(m_lock);
    TimerQueue* const queue = m_queues.Open();
    if (queue == nullptr)
    {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    queue->deleted = false;
    return m_queues.HandleOf(*queue);
}

TimerQueue* TimerQueues::FindQueue(HANDLE handle) noexcept
{
    return handle == nullptr ? &m_default : m_queues.Find(handle);
}

QueueTimer* TimerQueues::OpenTimer(TimerQueue& queue) noexcept
{
    QueueTimer* const timer = m_timers.Open();
    if (timer == nullptr || !m_heap.Reserve(m_timers.Capacity()))
    {
        if (timer != nullptr)
        {
            m_timers.CloseHandle(*timer);
            m_timers.Recycle(*timer);
        }
        return nullptr;
    }
    timer->deleted = false;
    timer->queue = &queue;
    timer->previous = nullptr;
    timer->next = queue.first;
    if (queue.first != nullptr)
    {
        queue.first->previous = timer;
    }
    queue.first = timer;
    return timer;
}

BOOL TimerQueues::CreateTimer(HANDLE& timer, HANDLE queue, WAITORTIMERCALLBACK callback, void* context, DWORD dueTime,
                              DWORD period) noexcept
{
    Guard guard(m_lock);
    TimerQueue* const owner = FindQueue(queue);
    if (owner == nullptr)
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    QueueTimer* const made = OpenTimer(*owner);
    if (made == nullptr)
    {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    made->callback = callback;
    made->context = context;
    made->period = period * millisecond;
    Alert alert;
    if (dueTime != INFINITE)
    {
        made->due = Deadline::Now() + dueTime * millisecond;
        m_heap.Insert(*made);
        alert = made->place == 0 ? ServeFirst() : Alert();
    }
    // The callback may look for it as soon as the lock is free.
    timer = m_timers.HandleOf(*made);
    guard.unlock();
    if (!Raise(alert))
    {
        const DWORD error = GetLastError();
        DeleteTimer(queue, timer, nullptr);
        timer = nullptr;
        return Fail(error);
    }
    return TRUE;
}

void TimerQueues::Abolish(QueueTimer& timer) noexcept
{
    m_heap.Remove(timer);
    m_timers.CloseHandle(timer);
    timer.deleted = true;
}

void TimerQueues::Forget(QueueTimer& timer) noexcept
{
    if (!timer.deleted || timer.running > 0)
    {
        return;
    }
    (timer.previous != nullptr ? timer.previous->next : timer.queue->first) = timer.next;
    if (timer.next != nullptr)
    {
        timer.next->previous = timer.previous;
    }
    m_timers.Recycle(timer);
}

void TimerQueues::Forget(TimerQueue& queue) noexcept
{
    if (queue.deleted && queue.running == 0)
    {
        m_queues.Recycle(queue);
    }
}

BOOL TimerQueues::DeleteTimer(HANDLE queue, HANDLE handle, HANDLE completionEvent) noexcept
{
    EndNotice notice;
    if (!notice.Prepare(completionEvent))
    {
        return FALSE;
    }
    {
        const Guard guard(m_lock);
        QueueTimer* const timer = FindQueue(queue) != nullptr ? m_timers.Find(handle) : nullptr;
        if (timer == nullptr)
        {
            return Fail(ERROR_INVALID_HANDLE);
        }
        Abolish(*timer);
        notice.Leave(timer->completion, timer->running, TimerOfThisThread() == timer);
        Forget(*timer);
    }
    return notice.Finish();
}

BOOL TimerQueues::DeleteQueue(HANDLE handle, HANDLE completionEvent) noexcept
{
    EndNotice notice;
    if (!notice.Prepare(completionEvent))
    {
        return FALSE;
    }
    {
        const Guard guard(m_lock);
        TimerQueue* const queue = m_queues.Find(handle);
        if (queue == nullptr)
        {
            return Fail(ERROR_INVALID_HANDLE);
        }
        m_queues.CloseHandle(*queue);
        queue->deleted = true;
        for (QueueTimer* timer = queue->first; timer != nullptr;)
        {
            QueueTimer& each = *std::exchange(timer, timer->next);
            if (!each.deleted)
            {
                Abolish(each);
            }
            Forget(each);
        }
        const QueueTimer* const own = TimerOfThisThread();
        notice.Leave(queue->completion, queue->running, own != nullptr && own->queue == queue);
        Forget(*queue);
    }
    return notice.Finish();
}

} // namespace Quoll::Platform

using Quoll::Platform::Fail;
using Quoll::Platform::HandleTable;
using Quoll::Platform::TimerQueues;

extern "C"
{

    HANDLE CreateTimerQueue() noexcept
    {
        if (!HandleTable::IsValid())
        {
            Fail(ERROR_INVALID_HANDLE);
            return nullptr;
        }
        return TimerQueues::Instance().CreateQueue();
    }

    BOOL CreateTimerQueueTimer(HANDLE* timer, HANDLE queue, WAITORTIMERCALLBACK callback, void* context, DWORD dueTime,
                               DWORD period, ULONG flags) noexcept
    {
        constexpr ULONG known = WT_EXECUTEONLYONCE | WT_EXECUTELONGFUNCTION;
        if (timer == nullptr || callback == nullptr || (flags & ~known) != 0 ||
            ((flags & WT_EXECUTEONLYONCE) != 0 && period != 0))
        {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        if (!HandleTable::IsValid())
        {
            return Fail(ERROR_INVALID_HANDLE);
        }
        return TimerQueues::Instance().CreateTimer(*timer, queue, callback, context, dueTime, period);
    }

    BOOL DeleteTimerQueueTimer(HANDLE queue, HANDLE timer, HANDLE completionEvent) noexcept
    {
        if (timer == nullptr)
        {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        if (!HandleTable::IsValid())
        {
            return Fail(ERROR_INVALID_HANDLE);
        }
        return TimerQueues::Instance().DeleteTimer(queue, timer, completionEvent);
    }

    BOOL DeleteTimerQueueEx(HANDLE queue, HANDLE completionEvent) noexcept
    {
        return HandleTable::IsValid() ? TimerQueues::Instance().DeleteQueue(queue, completionEvent)
                                      : Fail(ERROR_INVALID_HANDLE);
    }

} // extern "C"
