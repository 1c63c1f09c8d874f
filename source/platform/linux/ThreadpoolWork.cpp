// Work objects of the thread pool.
//
// Submissions are counted, not queued: a work object has two counters, of the callbacks that were submitted and
// of those that were started, and a helper thread starts one by moving the second. So a thread never holds
// callbacks back that another could run. An object that has something to do is attended: it stands once in the
// helpers' queue, or a thread that has just done its last callback still looks at it for some microseconds. A
// thread that starts a callback while others are left puts the object back into the queue first, which brings
// another thread, or, when all of them are blocked, a new one.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/HandleTable.h"
#include "platform/linux/HelperThreads.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <new>
#include <thread>

using Quoll::Platform::Fail;
using Quoll::Platform::HandleTable;
using Quoll::Platform::HelperThreads;
using Quoll::Platform::HelperWork;

struct TP_CALLBACK_INSTANCE
{
    TP_WORK& work;
    bool isDisassociated = false;
};

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): a cache line for those who submit, one for those who start
struct TP_WORK final : Quoll::Platform::Counted
{
public:
    TP_WORK(PTP_WORK_CALLBACK callback, void* context) noexcept
        : m_callback(callback)
        , m_context(context)
    {
        m_place.work = this;
        m_place.run = [](HelperWork& place) noexcept {
            static_cast<Place&>(place).work->RunSome();
        };
    }

    void Submit() noexcept
    {
        m_submitted.fetch_add(1);
        Attend();
    }
    void Wait(bool cancelPending) noexcept;
    void EndRun() noexcept;

private:
    struct Place : HelperWork
    {
        TP_WORK* work = nullptr;
    };

    // What a thread does before others get their turn.
    static constexpr int slice = 64;

    void RunSome() noexcept;
    bool RunUntilNone(int& left) noexcept;
    bool AwaitMore() noexcept;
    void Call() noexcept;
    bool TryStart(std::uint64_t& left) noexcept;
    void CancelPending() noexcept;

    bool HasPending() const noexcept
    {
        return m_started.load() < m_submitted.load();
    }
    // Read in this order: a thread counts as running before it starts a callback.
    bool IsIdle() const noexcept
    {
        return !HasPending() && m_running.load() == 0;
    }
    void Attend() noexcept
    {
        if (!m_isAttended.load() && !m_isAttended.exchange(true))
        {
            Retain();
            if (!HelperThreads::Submit(m_place, HelperThreads::Kind::Short))
            {
                m_isAttended = false; // in the child of a fork
                Release();
            }
        }
    }

    const PTP_WORK_CALLBACK m_callback;
    void* const m_context;
    Place m_place; // taken while the object is attended
    std::atomic<bool> m_isAttended{false};
    std::atomic<std::uint32_t> m_running{0}; // threads that may be in a callback
    std::atomic<std::uint32_t> m_waiters{0};
    std::mutex m_lock;
    std::condition_variable m_idle;
    alignas(64) std::atomic<std::uint64_t> m_submitted{0};
    alignas(64) std::atomic<std::uint64_t> m_started{0};
};

// With the count of the one who attends, which ends here.
void TP_WORK::RunSome() noexcept
{
    int left = slice;
    do
    {
        m_isAttended = false;
    } while (RunUntilNone(left) && AwaitMore());
    if (left == 0 && HasPending() && !m_isAttended.exchange(true))
    {
        HelperThreads::SubmitAgain(m_place);
        return;
    }
    Release();
}

// False if the slice is over.
bool TP_WORK::RunUntilNone(int& left) noexcept
{
    m_running.fetch_add(1);
    std::uint64_t others = 0;
    bool found = true;
    while (left > 0 && (found = TryStart(others)))
    {
        if (others > 0)
        {
            Attend();
        }
        Call();
        --left;
    }
    EndRun();
    return !found;
}

bool TP_WORK::TryStart(std::uint64_t& left) noexcept
{
    std::uint64_t started = m_started.load();
    for (;;)
    {
        const std::uint64_t submitted = m_submitted.load();
        if (started >= submitted)
        {
            return false;
        }
        if (m_started.compare_exchange_weak(started, started + 1))
        {
            left = submitted - started - 1;
            return true;
        }
    }
}

void TP_WORK::Call() noexcept
{
    HelperThreads::NoteProgress();
    TP_CALLBACK_INSTANCE instance{*this};
    m_callback(&instance, m_context, this);
    if (instance.isDisassociated)
    {
        m_running.fetch_add(1);
    }
}

// Looks for a moment before it lets go, unless another does: more often comes soon, and waking a thread costs
// more than the moment. True if there is something to do and this thread attends.
bool TP_WORK::AwaitMore() noexcept
{
    static const bool alone = std::thread::hardware_concurrency() < 2;
    constexpr auto moment = std::chrono::microseconds(10);
    if (alone || m_isAttended.exchange(true))
    {
        return false;
    }
    const auto end = std::chrono::steady_clock::now() + moment;
    while (!HasPending())
    {
        if (std::chrono::steady_clock::now() >= end)
        {
            m_isAttended = false;
            return HasPending() && !m_isAttended.exchange(true);
        }
    }
    return true;
}

void TP_WORK::EndRun() noexcept
{
    if (m_running.fetch_sub(1) == 1 && m_waiters.load() != 0)
    {
        const std::lock_guard guard(m_lock);
        m_idle.notify_all();
    }
}

void TP_WORK::CancelPending() noexcept
{
    std::uint64_t started = m_started.load();
    for (std::uint64_t submitted = m_submitted.load();
         started < submitted && !m_started.compare_exchange_weak(started, submitted);)
    {
    }
}

void TP_WORK::Wait(bool cancelPending) noexcept
{
    if (!HandleTable::IsValid())
    {
        return;
    }
    if (cancelPending)
    {
        CancelPending();
    }
    std::unique_lock guard(m_lock);
    m_idle.notify_all(); // others may have waited for what is cancelled
    m_waiters.fetch_add(1);
    m_idle.wait(guard, [this] { return IsIdle(); });
    m_waiters.fetch_sub(1);
}

extern "C"
{

    PTP_WORK CreateThreadpoolWork(PTP_WORK_CALLBACK callback, void* context, PTP_CALLBACK_ENVIRON environment) noexcept
    {
        if (callback == nullptr || environment != nullptr)
        {
            Fail(callback == nullptr ? ERROR_INVALID_PARAMETER : ERROR_NOT_SUPPORTED);
            return nullptr;
        }
        if (!HelperThreads::Reserve())
        {
            return nullptr;
        }
        auto* const work = new (std::nothrow) TP_WORK(callback, context);
        if (work == nullptr)
        {
            Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        return work;
    }

    void SubmitThreadpoolWork(PTP_WORK work) noexcept
    {
        work->Submit();
    }

    void WaitForThreadpoolWorkCallbacks(PTP_WORK work, BOOL cancelPending) noexcept
    {
        work->Wait(cancelPending != FALSE);
    }

    void CloseThreadpoolWork(PTP_WORK work) noexcept
    {
        work->Release();
    }

    void DisassociateCurrentThreadFromCallback(PTP_CALLBACK_INSTANCE instance) noexcept
    {
        if (!instance->isDisassociated)
        {
            instance->isDisassociated = true;
            instance->work.EndRun();
        }
    }

} // extern "C"
