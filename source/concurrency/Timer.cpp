#include "Quoll/Timer.h"

#include "Quoll/Errors.h"
#include "concurrency/SharedTimerQueue.h"

#include <windows.h>

#include <exception>
#include <stdexcept>

namespace Quoll::Utilities
{

Timer::Timer(int interval, bool runOnce, const std::function<void()>& action)
{
    Start(interval, runOnce, action);
}

Timer::~Timer()
{
    try
    {
        Stop();
    }
    catch (const std::exception&)
    {
    }
}

void Timer::Start(int interval, bool runOnce, const std::function<void()>& action)
{
    constexpr const char* failure = "CreateTimerQueueTimer failed.";
    m_isRunOnce.store(runOnce, std::memory_order_release);
    if (SharedTimerQueue::IsGone())
    {
        throw Win32Exception(failure, ERROR_INVALID_HANDLE);
    }
    const HANDLE queue = SharedTimerQueue::Get();
    if (m_timer != nullptr)
    {
        throw std::runtime_error("Timer already started.");
    }
    m_action = action;
    const auto callback = [](void* context, BOOLEAN timedOut) noexcept {
        const TimerRun run(context);
        if (run.IsWanted())
        {
            TimerCallback(context, timedOut != FALSE);
        }
    };
    const auto time = static_cast<DWORD>(interval);
    if (!CreateTimerQueueTimer(&m_timer, queue, callback, this, time, runOnce ? 0 : time,
                               runOnce ? WT_EXECUTEONLYONCE : 0))
    {
        const DWORD error = GetLastError();
        m_timer = nullptr;
        throw Win32Exception(failure, error);
    }
}

void Timer::Stop()
{
    if (m_timer != nullptr && !SharedTimerQueue::IsGone())
    {
        // The action would wait for itself.
        const bool fromAction = TimerRun::IsOfThisThread(this);
        if (!DeleteTimerQueueTimer(SharedTimerQueue::Get(), m_timer, fromAction ? nullptr : INVALID_HANDLE_VALUE) &&
            !(fromAction && GetLastError() == ERROR_IO_PENDING))
        {
            throw Win32Exception("DeleteTimerQueueTimer failed.");
        }
    }
    m_timer = nullptr;
    m_isDone.store(true, std::memory_order_release);
}

bool Timer::IsRunning() const noexcept
{
    return m_timer != nullptr;
}

bool Timer::IsDone() const noexcept
{
    return m_isDone;
}

void Timer::SetDone(bool done) noexcept
{
    m_isDone = done;
}

bool Timer::IsEnabled() const noexcept
{
    return m_isEnabled;
}

void Timer::SetEnabled(bool enabled) noexcept
{
    m_isEnabled = enabled;
}

bool Timer::IsRunOnce() const noexcept
{
    return m_isRunOnce;
}

void Timer::TimerCallback(void* context, [[maybe_unused]] bool timedOut)
{
    auto& timer = *static_cast<Timer*>(context);
    if (!timer.m_isEnabled)
    {
        return;
    }
    timer.m_action();
    if (timer.m_isRunOnce)
    {
        timer.m_isDone = true;
    }
}

} // namespace Quoll::Utilities
