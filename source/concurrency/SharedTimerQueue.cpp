#include "concurrency/SharedTimerQueue.h"

#include "Quoll/Locks.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace Quoll::Utilities
{

namespace
{

// How long the end waits for running callbacks.
constexpr std::chrono::seconds patience{5};

constinit thread_local const void* timerOfThisThread = nullptr;

struct Shared
{
    // Outlives static destruction: callbacks may still end.
    static Shared& Instance()
    {
        static auto& shared = *new Shared;
        return shared;
    }

    CriticalSection creation;
    std::mutex lock; // guards what follows
    std::condition_variable callbackEnded;
    unsigned running = 0;
    bool isEnding = false;
};

class CreationGuard
{
public:
    explicit CreationGuard(CriticalSection& section) noexcept
        : m_section(section)
    {
        m_section.Lock();
    }
    CreationGuard(const CreationGuard&) = delete;
    CreationGuard& operator=(const CreationGuard&) = delete;
    ~CreationGuard()
    {
        m_section.Unlock();
    }

private:
    CriticalSection& m_section;
};

} // namespace

class SharedTimerQueue::Owner
{
public:
    Owner() noexcept = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner()
    {
        auto& shared = Shared::Instance();
        // Otherwise the queue goes with the process, and its callbacks do nothing until then.
        if (!Platform::AreOtherThreadsGone() && WaitForCallbacks(shared))
        {
            DeleteTimerQueueEx(queue, INVALID_HANDLE_VALUE);
        }
        hasEnded = true;
    }

private:
    // Lets no more callbacks begin. Whether none is left.
    static bool WaitForCallbacks(Shared& shared)
    {
        const unsigned own = timerOfThisThread != nullptr ? 1 : 0;
        std::unique_lock guard(shared.lock);
        shared.isEnding = true;
        shared.callbackEnded.wait_for(guard, patience, [&] { return shared.running <= own; });
        return shared.running == 0;
    }
};

HANDLE SharedTimerQueue::Create()
{
    const CreationGuard guard(Shared::Instance().creation);
    if (!exists)
    {
        Platform::KeepLibraryLoaded();
        queue = CreateTimerQueue();
        static const Owner owner;
        exists = true;
    }
    return queue;
}

TimerRun::TimerRun(const void* timer) noexcept
{
    timerOfThisThread = timer;
    auto& shared = Shared::Instance();
    const std::lock_guard guard(shared.lock);
    ++shared.running;
    m_isWanted = !shared.isEnding;
}

TimerRun::~TimerRun()
{
    timerOfThisThread = nullptr;
    auto& shared = Shared::Instance();
    const std::lock_guard guard(shared.lock);
    --shared.running;
    if (shared.isEnding)
    {
        shared.callbackEnded.notify_all();
    }
}

bool TimerRun::IsOfThisThread(const void* timer) noexcept
{
    return timer == timerOfThisThread;
}

} // namespace Quoll::Utilities
