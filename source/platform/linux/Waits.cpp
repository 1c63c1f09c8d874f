// Waits on one or several objects.
//
// A thread that waits on plain objects sleeps on a futex. Where operations hang on one of the
// events, it polls their descriptors instead and does their work, until one of its objects is
// its own, or time is up.
#include "platform/linux/HandleTable.h"
#include "platform/linux/Waitable.h"

#include <algorithm>
#include <array>
#include <new>
#include <span>
#include <utility>

#include <poll.h>

namespace Quoll::Platform
{
namespace
{

using Targets = std::span<Waitable* const>;

/// The operations that a waiting thread works for, and their descriptors.
class PollSet
{
public:
    PollSet() = default;
    PollSet(const PollSet&) = delete;
    PollSet& operator=(const PollSet&) = delete;
    ~PollSet()
    {
        Clear();
    }

    bool Collect(Targets targets)
    {
        Clear();
        for (Waitable* const target : targets)
        {
            target->CollectOperations(m_operations);
        }
        std::erase_if(m_operations, [](const auto& operation) { return operation->Descriptor() < 0; });
        m_descriptors.resize(m_operations.size() + 1); // and the wake-up's
        for (m_begun = 0; m_begun < m_operations.size(); ++m_begun)
        {
            const auto& operation = m_operations[m_begun];
            m_descriptors[m_begun] = {operation->Descriptor(), operation->PollEvents(), 0};
            operation->WaitBegins();
        }
        return !m_operations.empty();
    }

    bool Sleep(ThreadRecord& self, const Deadline& deadline) noexcept
    {
        return self.parker.ParkOrPoll(m_descriptors, deadline);
    }

    void AdvanceReady() noexcept
    {
        for (std::size_t i = 0; i < m_operations.size(); ++i)
        {
            if (m_descriptors[i].revents != 0)
            {
                m_operations[i]->Advance();
            }
        }
    }

private:
    void Clear() noexcept
    {
        while (m_begun > 0)
        {
            m_operations[--m_begun]->WaitEnds();
        }
        m_operations.clear();
    }

    std::vector<Ref<Operation>> m_operations;
    std::vector<pollfd> m_descriptors;
    std::size_t m_begun = 0;
};

/// A wait's places in the queues of its objects, left when the wait ends, however it ends.
class Queue
{
public:
    Queue(Waiter& waiter, std::span<WaitBlock> blocks, Targets targets) noexcept
        : m_blocks(blocks)
        , m_targets(targets)
    {
        for (DWORD i = 0; i < targets.size(); ++i)
        {
            m_blocks[i].waiter = &waiter;
            m_blocks[i].index = i;
        }
    }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue()
    {
        while (m_queued > 0)
        {
            --m_queued;
            m_targets[m_queued]->Dequeue(m_blocks[m_queued]);
        }
    }

    void JoinForAny() noexcept
    {
        while (m_queued < m_targets.size())
        {
            const std::size_t place = m_queued++;
            if (!m_targets[place]->EnqueueOrDecide(m_blocks[place]))
            {
                return;
            }
        }
    }
    void JoinForAll() noexcept // with all locks held
    {
        for (; m_queued < m_targets.size(); ++m_queued)
        {
            m_targets[m_queued]->Enqueue(m_blocks[m_queued]);
        }
    }

private:
    std::span<WaitBlock> m_blocks;
    Targets m_targets;
    std::size_t m_queued = 0;
};

/// Sleeps on what was collected and does what has become ready. False if the thread can't sleep.
bool Work(ThreadRecord& self, PollSet& polled, const Deadline& deadline) noexcept
{
    if (!polled.Sleep(self, deadline))
    {
        SetLastError(ERROR_TOO_MANY_OPEN_FILES);
        return false;
    }
    polled.AdvanceReady();
    return true;
}

/// Sleeps once, or does what operations have become ready. False if the thread can't.
bool SleepOrWork(ThreadRecord& self, Targets targets, PollSet& polled, const Deadline& deadline) noexcept
try
{
    if (polled.Collect(targets))
    {
        return Work(self, polled, deadline);
    }
    self.parker.Park(deadline);
    return true;
}
catch (const std::bad_alloc&)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
}

bool TryTakeLowest(Targets targets, ThreadRecord& self, DWORD& outcome) noexcept
{
    for (DWORD i = 0; i < targets.size(); ++i)
    {
        if (targets[i]->TryTake(self, outcome))
        {
            outcome |= i;
            return true;
        }
    }
    return false;
}

DWORD WaitAny(Targets targets, std::span<WaitBlock> blocks, DWORD milliseconds)
{
    ThreadRecord& self = ThreadRecord::Current();
    DWORD outcome = 0;
    if (TryTakeLowest(targets, self, outcome))
    {
        return outcome;
    }
    const Deadline deadline = Deadline::In(milliseconds);
    PollSet polled;
    if (milliseconds == 0)
    {
        if (!polled.Collect(targets))
        {
            return WAIT_TIMEOUT;
        }
        if (!Work(self, polled, deadline))
        {
            return WAIT_FAILED;
        }
        return TryTakeLowest(targets, self, outcome) ? outcome : WAIT_TIMEOUT;
    }

    Waiter waiter(self, false);
    Queue queue(waiter, blocks, targets);
    queue.JoinForAny();
    while (waiter.IsPending())
    {
        const bool slept = SleepOrWork(self, targets, polled, deadline);
        if (!slept || deadline.HasPassed())
        {
            waiter.Decide(slept ? WAIT_TIMEOUT : WAIT_FAILED);
        }
    }
    return static_cast<DWORD>(waiter.result.load(std::memory_order_acquire));
}

/// All the objects' locks, taken in address order.
class LockAll
{
public:
    explicit LockAll(Targets sorted) noexcept
        : m_sorted(sorted)
    {
        for (Waitable* const target : m_sorted)
        {
            target->lock.lock();
        }
    }
    LockAll(const LockAll&) = delete;
    LockAll& operator=(const LockAll&) = delete;
    ~LockAll()
    {
        for (Waitable* const target : m_sorted)
        {
            target->lock.unlock();
        }
    }

private:
    Targets m_sorted;
};

bool TakeAll(Targets sorted, ThreadRecord& self, DWORD& outcome) noexcept
{
    if (!std::ranges::all_of(sorted, [&](const Waitable* target) { return target->IsReady(self); }))
    {
        return false;
    }
    outcome = 0;
    for (Waitable* const target : sorted)
    {
        outcome |= target->OutcomeBits();
        target->Take(self);
    }
    return true;
}

DWORD WaitAll(Targets targets, std::span<WaitBlock> blocks, DWORD milliseconds)
{
    std::array<Waitable*, MAXIMUM_WAIT_OBJECTS> ordered{};
    std::ranges::copy(targets, ordered.begin());
    const auto sorted = std::span(ordered).first(targets.size());
    std::ranges::sort(sorted);
    if (std::ranges::adjacent_find(sorted) != sorted.end())
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }

    ThreadRecord& self = ThreadRecord::Current();
    Waiter waiter(self, true);
    Queue queue(waiter, blocks, sorted);
    const Deadline deadline = Deadline::In(milliseconds);
    PollSet polled;
    DWORD outcome = WAIT_TIMEOUT;
    {
        const LockAll guard(sorted);
        queue.JoinForAll();
    }
    for (bool last = false;; last = last || deadline.HasPassed())
    {
        {
            const LockAll guard(sorted);
            if (TakeAll(sorted, self, outcome) || last)
            {
                return outcome;
            }
        }
        if (!SleepOrWork(self, targets, polled, deadline))
        {
            return WAIT_FAILED;
        }
    }
}

// Capacity bounds what a wait puts on the stack and has to clear: most wait for one or two.
template<std::size_t Capacity>
DWORD Wait(std::span<const HANDLE> handles, bool waitAll, DWORD milliseconds) noexcept
try
{
    std::array<Pinned<Object>, Capacity> pinned;
    std::array<Waitable*, Capacity> targets{};
    for (std::size_t i = 0; i < handles.size(); ++i)
    {
        pinned[i] = Pinned<Object>(handles[i]);
        if (!pinned[i])
        {
            return WAIT_FAILED;
        }
        targets[i] = pinned[i]->WaitTarget();
    }
    std::array<WaitBlock, Capacity> blocks;
    const auto used = std::span(targets).first(handles.size());
    return waitAll && used.size() > 1 ? WaitAll(used, blocks, milliseconds) : WaitAny(used, blocks, milliseconds);
}
catch (const std::bad_alloc&)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return WAIT_FAILED;
}

} // namespace
} // namespace Quoll::Platform

extern "C"
{

    DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds) noexcept
    {
        if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr)
        {
            SetLastError(ERROR_INVALID_PARAMETER);
            return WAIT_FAILED;
        }
        return count <= 2
                   ? Quoll::Platform::Wait<2>({handles, count}, waitAll != FALSE, milliseconds)
                   : Quoll::Platform::Wait<MAXIMUM_WAIT_OBJECTS>({handles, count}, waitAll != FALSE, milliseconds);
    }

    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) noexcept
    {
        return Quoll::Platform::Wait<1>({&handle, 1}, false, milliseconds);
    }

    DWORD WaitForSingleObjectEx(HANDLE handle, DWORD milliseconds, BOOL) noexcept
    {
        return WaitForSingleObject(handle, milliseconds);
    }

} // extern "C"
