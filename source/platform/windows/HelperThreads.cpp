#include "platform/helper_threads.h"
#include "platform/process_end.h"

#include <windows.h>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace Quoll::Platform
{
namespace
{

constinit thread_local bool onHelperThread = false;

class Crew
{
public:
    static Crew& Instance() noexcept
    {
        static auto& crew = *new Crew; // outlives static destruction
        return crew;
    }

    bool Submit(HelperWork& work) noexcept
    {
        {
            const std::lock_guard guard(m_lock);
            if (m_waiting >= m_idle && !StartThread() && m_threads == 0)
            {
                SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                return false;
            }
            work.next = nullptr;
            (m_last != nullptr ? m_last->next : m_first) = &work;
            m_last = &work;
            ++m_waiting;
        }
        m_added.notify_one();
        return true;
    }

private:
    bool StartThread() noexcept
    try
    {
        if (m_threads == maxHelperThreads)
        {
            return false;
        }
        KeepLibraryLoaded();
        std::thread([this] { Serve(); }).detach();
        ++m_threads;
        return true;
    }
    catch (const std::exception&)
    {
        return false;
    }

    [[noreturn]] void Serve() noexcept
    {
        onHelperThread = true;
        std::unique_lock guard(m_lock);
        for (;;)
        {
            ++m_idle;
            m_added.wait(guard, [this] { return m_first != nullptr; });
            --m_idle;
            HelperWork& work = Pop();
            guard.unlock();
            work.run(work);
            guard.lock();
        }
    }

    HelperWork& Pop() noexcept
    {
        HelperWork& work = *m_first;
        m_first = work.next;
        --m_waiting;
        if (m_first == nullptr)
        {
            m_last = nullptr;
        }
        return work;
    }

    std::mutex m_lock; // guards all that follows
    std::condition_variable m_added;
    HelperWork* m_first = nullptr;
    HelperWork* m_last = nullptr;
    std::uint32_t m_waiting = 0;
    std::uint32_t m_idle = 0; // those that sleep, and those that are awake but haven't taken their work yet
    std::uint32_t m_threads = 0;
};

} // namespace

bool SubmitHelperWork(HelperWork& work) noexcept
{
    return Crew::Instance().Submit(work);
}

bool IsHelperThread() noexcept
{
    return onHelperThread;
}

} // namespace Quoll::Platform
