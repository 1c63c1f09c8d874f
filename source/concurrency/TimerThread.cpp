#include "Quoll/TimerThread.h"

#include "Quoll/Errors.h"
#include "Quoll/Synchronization.h"

#include <system_error>
#include <utility>

namespace Quoll::Utilities
{

ITimerThread::~ITimerThread() = default;

TimerThread::TimerThread(std::function<void()> action, std::uint32_t interval)
    : m_wakeUp(EventAccessControl::CreateLocalEvent(true, false))
    , m_action(std::move(action))
    , m_interval(interval)
{
    if (!m_wakeUp.IsValid())
    {
        throw Win32Exception("CreateEvent failed.");
    }
}

TimerThread::~TimerThread()
{
    TimerThread::Stop();
}

void TimerThread::Start()
{
    if (!m_isStopped)
    {
        TryRestart();
        return;
    }
    Join(); // of a thread that was stopped by its own action
    // Until the thread object is in its place no action runs that might look for it.
    const std::lock_guard guard(m_actionLock);
    m_isStopped = false;
    try
    {
        m_thread = std::make_unique<std::thread>([this] { ThreadLoop(); });
    }
    catch (...)
    {
        m_isStopped = true;
        throw;
    }
}

void TimerThread::Stop()
{
    m_isStopped = true;
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall): a derived class is gone when the destructor stops
    SetEvent();
    Join();
}

void TimerThread::Join()
{
    if (m_thread == nullptr)
    {
        return;
    }
    if (m_thread->get_id() == std::this_thread::get_id())
    {
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    m_thread->join();
    m_thread.reset();
}

void TimerThread::Pause()
{
    m_isPaused = true;
}

void TimerThread::SetEvent()
{
    EventAccessControl::SetEvent(m_wakeUp);
}

std::uint32_t TimerThread::GetInterval() const
{
    return m_interval;
}

void TimerThread::SetInterval(std::uint32_t interval)
{
    const std::lock_guard guard(m_actionLock);
    m_interval = interval;
}

void TimerThread::SetAction(const std::function<void()>& action)
{
    const std::lock_guard guard(m_actionLock);
    m_action = action;
}

bool TimerThread::HasExceptions() const
{
    return !m_exceptions.IsEmpty();
}

std::vector<std::exception_ptr> TimerThread::ResetExceptions()
{
    return m_exceptions.TakeAll();
}

void TimerThread::TryRestart()
{
    if (m_isPaused.exchange(false))
    {
        SetEvent();
    }
}

void TimerThread::ThreadLoop()
{
    while (!m_isStopped)
    {
        if (EventAccessControl::WaitOnEvent(m_wakeUp, m_interval))
        {
            EventAccessControl::ResetEvent(m_wakeUp);
        }
        if (m_isPaused)
        {
            continue;
        }
        try
        {
            const std::lock_guard guard(m_actionLock);
            if (m_action)
            {
                m_action();
            }
        }
        catch (const std::exception&)
        {
            m_exceptions.Add(std::current_exception());
        }
    }
}

void TimerThread::ExceptionList::Add(std::exception_ptr exception)
{
    const std::lock_guard guard(m_lock);
    m_exceptions.push_back(std::move(exception));
}

bool TimerThread::ExceptionList::IsEmpty() const
{
    const std::lock_guard guard(m_lock);
    return m_exceptions.empty();
}

std::vector<std::exception_ptr> TimerThread::ExceptionList::TakeAll()
{
    const std::lock_guard guard(m_lock);
    return std::exchange(m_exceptions, {});
}

} // namespace Quoll::Utilities
