// The thread pool's queue: unbounded, first in first out across all producers.
#pragma once

#include "concurrency/PackagedTask.h"

#include <atomic>
#include <mutex>

namespace Quoll::Utilities
{

// A linked list whose order is that in which producers exchange its end. Between the exchange and the
// link to the one before it, a task and all behind it can't be taken yet, though the queue isn't
// empty; a producer that sets an event after Push sets it after that moment.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): producers and takers have a cache line each
class TaskQueue
{
public:
    TaskQueue();
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;
    ~TaskQueue();

    void Push(PackagedTask::Owner task) noexcept; // never waits
    PackagedTask::Owner TryPop() noexcept;        // null if none can be taken
    bool IsEmpty() const noexcept;
    void Clear() noexcept; // drops all that was pushed before

private:
    static constexpr std::size_t CACHE_LINE = 64;

    // The list begins with a task that was taken already (or never was one).
    mutable std::mutex m_takeLock;
    PackagedTask* m_taken; // guarded by m_takeLock
    alignas(CACHE_LINE) std::atomic<PackagedTask*> m_last;
};

} // namespace Quoll::Utilities
