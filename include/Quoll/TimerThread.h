/// @file
/// A thread that runs one action every interval.
///
///     TimerThread cleaner([&] { cache.DropOld(); }, 60000);
///     cleaner.Start();
///     ...
///     cleaner.SetEvent();                                  // now, too
///     ...
///     cleaner.Stop();
///     for (const std::exception_ptr& failure : cleaner.ResetExceptions()) { ... }
///
/// Timer is the other kind: no thread of its own, a fixed grid of times, runs that may overlap.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/SharedHandle.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Quoll::Utilities
{

/// A thread that runs an action every interval.
class QUOLL_API ITimerThread
{
public:
    ITimerThread() = default;
    ITimerThread(const ITimerThread&) = delete;            ///< A thread has one owner.
    ITimerThread& operator=(const ITimerThread&) = delete; ///< A thread has one owner.

    /// Starts the thread, or resumes it if it is paused. The action runs first one interval later, or at once after
    /// a SetEvent that no run has answered, such as that of a Stop during a run; a thread that is resumed runs it
    /// at once. A start after Stop doesn't resume what was paused before: a second one does.
    /// Throws std::system_error if there is no thread to be had (it stays stopped then), and with
    /// std::errc::resource_deadlock_would_occur if the action starts its own thread after it has stopped it.
    virtual void Start() = 0;

    /// Ends the thread and waits for it. A thread that isn't paused and waits runs the action once more on the way.
    /// Action, interval and kept exceptions stay.
    ///
    /// Called by the action itself it throws std::system_error with
    /// std::errc::resource_deadlock_would_occur; the thread ends after that run all the same, and the next Start,
    /// Stop or the destructor joins it.
    virtual void Stop() = 0;

    /// The thread goes on to wake, but doesn't run the action until it is resumed by Start.
    virtual void Pause() = 0;

    /// The action runs now instead of at the end of the interval; if it is running already, once more after that,
    /// however often this is called meanwhile.
    virtual void SetEvent() = 0;

    /// Milliseconds from the end of one run to the next.
    virtual std::uint32_t GetInterval() const = 0;

    /// Sets the interval from the next wait on: 0 runs the action back to back, 0xFFFFFFFF only after SetEvent.
    /// Waits for a running action to end; the action must not call it.
    virtual void SetInterval(std::uint32_t interval) = 0;

    /// Sets the action; an empty one is skipped. Waits for a running action to end; the action must not call it.
    virtual void SetAction(const std::function<void()>& action) = 0;

    /// Whether exceptions have been kept.
    virtual bool HasExceptions() const = 0;

    /// The exceptions kept so far, oldest first, which are forgotten by that.
    virtual std::vector<std::exception_ptr> ResetExceptions() = 0;

    virtual ~ITimerThread();
};

/// ITimerThread with a thread of the C++ runtime.
///
/// Threads:   the action runs on the own thread alone, never twice at once. One thread at a time calls Start and
///            Stop; the rest may be called from any thread, and but for SetAction and SetInterval by the action.
/// Failures:  an exception derived from std::exception that comes out of the action is kept, and the thread
///            goes on; all of them are, until ResetExceptions collects them. Any other ends the process.
class QUOLL_API TimerThread : public ITimerThread
{
public:
    /// Stopped. The interval is in milliseconds.
    /// Throws Win32Exception "CreateEvent failed." if the platform has no event to wait on.
    TimerThread(std::function<void()> action, std::uint32_t interval);
    /// Stops, which waits for a running action; that must not be what destroys the object.
    ~TimerThread() override;

    void Start() override;
    void Stop() override;
    void Pause() override;
    void SetEvent() override;
    std::uint32_t GetInterval() const override;
    void SetInterval(std::uint32_t interval) override;
    void SetAction(const std::function<void()>& action) override;
    bool HasExceptions() const override;
    std::vector<std::exception_ptr> ResetExceptions() override;

protected:
    /// Resumes a paused thread, and runs the action now; nothing if it isn't paused.
    virtual void TryRestart();

    /// What the thread does until it is stopped.
    void ThreadLoop();

private:
    /// Takes exceptions from one thread while another looks.
    class QUOLL_API ExceptionList
    {
    public:
        void Add(std::exception_ptr exception);
        bool IsEmpty() const;
        std::vector<std::exception_ptr> TakeAll();

    private:
        mutable std::mutex m_lock;
        std::vector<std::exception_ptr> m_exceptions;
    };

    void Join();

    std::atomic<bool> m_isStopped{true};
    std::atomic<bool> m_isPaused{false};
    SharedHandle m_wakeUp;
    std::mutex m_actionLock;
    std::function<void()> m_action;
    std::atomic<std::uint32_t> m_interval;
    std::unique_ptr<std::thread> m_thread;
    ExceptionList m_exceptions;
};

} // namespace Quoll::Utilities
