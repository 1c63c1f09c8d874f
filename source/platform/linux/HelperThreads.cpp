#include "platform/linux/HelperThreads.h"

#include "platform/linux/DetachedThread.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Fork.h"
#include "platform/linux/HandleTable.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

namespace Quoll::Platform
{
namespace
{

// Short work that waits behind blocked threads for so long gets another thread.
constexpr std::chrono::milliseconds patience{4};

/// Begun pieces of short work, as their thread counts them.
struct alignas(64) Progress
{
    std::atomic<std::uint64_t> count{0};
};

constinit thread_local bool onHelperThread = false;
constinit thread_local Progress* ownProgress = nullptr;

class Queue
{
public:
    void Push(HelperWork& work) noexcept
    {
        work.next = nullptr;
        (m_last != nullptr ? m_last->next : m_first) = &work;
        m_last = &work;
        ++m_size;
    }
    HelperWork& Pop() noexcept
    {
        HelperWork& work = *m_first;
        m_first = work.next;
        --m_size;
        if (m_first == nullptr)
        {
            m_last = nullptr;
        }
        return work;
    }
    std::size_t Size() const noexcept
    {
        return m_size;
    }

private:
    HelperWork* m_first = nullptr;
    HelperWork* m_last = nullptr;
    std::size_t m_size = 0;
};

class Crew
{
public:
    static Crew& Instance() noexcept
    {
        static auto& crew = *new Crew; // outlives static destruction
        return crew;
    }

    bool Submit(HelperWork& work, HelperThreads::Kind kind) noexcept
    {
        {
            const std::lock_guard guard(m_lock);
            if (!FindThread(kind))
            {
                return false;
            }
            (kind == HelperThreads::Kind::Long ? m_long : m_short).Push(work);
        }
        m_added.notify_one();
        return true;
    }

    bool Reserve() noexcept
    {
        const std::lock_guard guard(m_lock);
        return m_threads > 0 || StartThread();
    }

    void SubmitAgain(HelperWork& work) noexcept
    {
        const std::lock_guard guard(m_lock);
        m_short.Push(work);
    }

private:
    // Whether the work about to be queued has a thread, or at least one to wait for.
    bool FindThread(HelperThreads::Kind kind) noexcept
    {
        if (m_long.Size() + m_short.Size() < m_idle)
        {
            return true;
        }
        if (kind == HelperThreads::Kind::Long || m_threads - m_atLongWork < m_processors)
        {
            return StartThread() || m_threads > 0;
        }
        Watch();
        return true;
    }

    bool StartThread() noexcept
    {
        if (m_threads == maxHelperThreads)
        {
            return false;
        }
        const int failure =
            StartDetachedThread("quoll-helper", [](void* self) -> void* { static_cast<Crew*>(self)->Serve(); }, this);
        if (failure != 0)
        {
            return Fail(FromErrno(failure)) != FALSE;
        }
        ++m_threads;
        return true;
    }

    [[noreturn]] void Serve() noexcept
    {
        onHelperThread = true;
        std::unique_lock guard(m_lock);
        ownProgress = &m_progress[m_serving++];
        for (;;)
        {
            ++m_idle;
            m_added.wait(guard, [this] { return m_long.Size() + m_short.Size() > 0; });
            --m_idle;
            const bool takesLong = m_long.Size() > 0 && !(m_shortIsOverdue && m_short.Size() > 0);
            takesLong ? RunLong(guard) : RunShort(guard);
        }
    }

    void RunLong(std::unique_lock<std::mutex>& guard) noexcept
    {
        HelperWork& work = m_long.Pop();
        ++m_atLongWork;
        guard.unlock();
        work.run(work);
        guard.lock();
        --m_atLongWork;
    }

    void RunShort(std::unique_lock<std::mutex>& guard) noexcept
    {
        HelperWork& work = m_short.Pop();
        HelperThreads::NoteProgress();
        m_shortIsOverdue = false;
        guard.unlock();
        work.run(work);
        guard.lock();
    }

    // One thread looks after short work that waits, for as long as there is some.
    void Watch() noexcept
    {
        if (m_watching)
        {
            return;
        }
        if (!m_hasWatcher)
        {
            m_hasWatcher =
                StartDetachedThread(
                    "quoll-watch", [](void* self) -> void* { static_cast<Crew*>(self)->KeepWatch(); }, this) == 0;
        }
        m_watching = m_hasWatcher;
        m_watch.notify_one();
    }

    [[noreturn]] void KeepWatch() noexcept
    {
        std::unique_lock guard(m_lock);
        for (;;)
        {
            m_watch.wait(guard, [this] { return m_watching; });
            const std::uint64_t begun = Begun();
            guard.unlock();
            std::this_thread::sleep_for(patience);
            guard.lock();
            m_watching = m_short.Size() > 0;
            if (m_watching && Begun() == begun)
            {
                m_shortIsOverdue = true;
                StartThread();
            }
        }
    }

    std::uint64_t Begun() const noexcept
    {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < m_serving; ++i)
        {
            sum += m_progress[i].count.load(std::memory_order_relaxed);
        }
        return sum;
    }

    const std::size_t m_processors = std::max(std::thread::hardware_concurrency(), 1U);

    std::mutex m_lock; // guards all that follows
    std::condition_variable m_added;
    Queue m_long;
    Queue m_short;
    std::size_t m_threads = 0;
    std::size_t m_idle = 0; // those that sleep, and those that are awake but haven't taken their work yet
    std::size_t m_atLongWork = 0;
    std::size_t m_serving = 0; // threads that have reached their loop
    std::array<Progress, maxHelperThreads> m_progress;
    bool m_shortIsOverdue = false; // it goes before long work then
    bool m_hasWatcher = false;
    bool m_watching = false;
    std::condition_variable m_watch;
};

} // namespace

bool HelperThreads::Submit(HelperWork& work, Kind kind) noexcept
{
    PrepareForFork();
    if (!HandleTable::IsValid())
    {
        return Fail(ERROR_INVALID_HANDLE) != FALSE;
    }
    return Crew::Instance().Submit(work, kind);
}

bool HelperThreads::Reserve() noexcept
{
    PrepareForFork();
    if (!HandleTable::IsValid())
    {
        return Fail(ERROR_INVALID_HANDLE) != FALSE;
    }
    return Crew::Instance().Reserve();
}

void HelperThreads::SubmitAgain(HelperWork& work) noexcept
{
    Crew::Instance().SubmitAgain(work);
}

void HelperThreads::NoteProgress() noexcept
{
    auto& count = ownProgress->count;
    count.store(count.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

bool SubmitHelperWork(HelperWork& work) noexcept
{
    return HelperThreads::Submit(work, HelperThreads::Kind::Long);
}

bool IsHelperThread() noexcept
{
    return onHelperThread;
}

} // namespace Quoll::Platform
