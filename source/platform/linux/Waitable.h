// What threads wait for, and the places in its queue.
//
// Each object keeps its waiters in order of arrival. A signaller decides a waiter's outcome by
// one compare-and-swap from pending to final, takes the object on its behalf and unlinks it, all
// under the object's lock, and wakes the thread after it has let go of the lock. A waiter for all
// of several objects is only hinted: it looks at all of them under all their locks.
#pragma once

#include "platform/linux/Object.h"
#include "platform/linux/Operation.h"
#include "platform/linux/ThreadRecord.h"

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

namespace Quoll::Platform
{

/// One thread's wait.
struct Waiter
{
    static constexpr std::int64_t pending = -1;

    explicit Waiter(ThreadRecord& waitingThread, bool forAll) noexcept
        : thread(waitingThread)
        , all(forAll)
    {
    }

    /// True for the one who decides.
    bool Decide(DWORD outcome) noexcept
    {
        std::int64_t expected = pending;
        return result.compare_exchange_strong(expected, outcome, std::memory_order_acq_rel);
    }
    bool IsPending() const noexcept
    {
        return result.load(std::memory_order_acquire) == pending;
    }

    std::atomic<std::int64_t> result{pending};
    ThreadRecord& thread;
    const bool all;
};

/// A waiter's place in one object's queue; lives on the waiter's stack.
struct WaitBlock
{
    Waiter* waiter = nullptr;
    DWORD index = 0;
    bool queued = false; // guarded by the object's lock
    WaitBlock* previous = nullptr;
    WaitBlock* next = nullptr;
};

/// Threads to wake once a lock is released.
class WakeList
{
public:
    WakeList() noexcept = default;
    WakeList(const WakeList&) = delete;
    WakeList& operator=(const WakeList&) = delete;
    ~WakeList()
    {
        Flush();
    }
    void Add(ThreadRecord& thread) noexcept
    {
        if (m_count == m_threads.size())
        {
            Flush(); // wakes them a little early, which costs them a second sleep
        }
        m_threads[m_count++] = &thread;
    }

private:
    void Flush() noexcept
    {
        for (std::size_t i = 0; i < m_count; ++i)
        {
            m_threads[i]->parker.Unpark();
        }
        m_count = 0;
    }

    std::array<ThreadRecord*, 16> m_threads{};
    std::size_t m_count = 0;
};

class Waitable : public Object
{
public:
    Waitable* WaitTarget() noexcept override
    {
        return this;
    }

    /// Takes the object for the thread if it can be had at once; `code` gets 0 or WAIT_ABANDONED.
    virtual bool TryTake(ThreadRecord& thread, DWORD& code) noexcept;
    /// Queues a waiter for any of its objects, or decides its wait if this object is ready. False
    /// if nothing is left to queue for.
    bool EnqueueOrDecide(WaitBlock& block) noexcept;
    void Dequeue(WaitBlock& block) noexcept;

    // With the lock held:
    virtual bool IsReady(const ThreadRecord& thread) const noexcept = 0;
    /// What a wait that takes the ready object reports beside its index: 0 or WAIT_ABANDONED.
    virtual DWORD OutcomeBits() const noexcept
    {
        return 0;
    }
    virtual void Take(ThreadRecord& thread) noexcept = 0; // when ready
    void Enqueue(WaitBlock& block) noexcept;

    // Pending operations whose end sets this object. A thread that waits on it does their work.
    void AttachOperation(Operation& operation) noexcept;
    /// Appends the operations to `found`.
    void CollectOperations(std::vector<Ref<Operation>>& found);

    std::mutex lock;

protected:
    using Object::Object;

    /// Gives the object to waiters as long as it is ready, in their order. With the lock held.
    void Serve(WakeList& wake) noexcept;
    void RemoveOperation(Operation& operation) noexcept; // with the lock held
    virtual void WaitersChanged(bool any) noexcept = 0;  // with the lock held

private:
    void Offer(WaitBlock& block) noexcept;
    void Unlink(WaitBlock& block) noexcept;

    WaitBlock* m_first = nullptr;
    WaitBlock* m_last = nullptr;
    Operation* m_operations = nullptr; // each holds a count
};

} // namespace Quoll::Platform
