// Tasks: a function that runs on a pool of threads and delivers its result.
//
//     auto answer = Quoll::Utilities::TaskScheduler::Run([] { return Compute(); });
//     ...
//     Use(answer.get());                       // the result, or the exception that came out of it
//
// Threads:  a task starts in the order in which it was submitted, whoever submitted it. The pool's
//           threads are made when all others are busy, up to TaskScheduler::MAX_THREADS, and never
//           end, because on Windows a thread that ends takes its pending I/O with it.
// Waiting:  Wait() and get() on a task that hasn't started run it on the waiting thread, so waiting
//           costs no change of thread. A task that is to run on the pool only is submitted so.
// Lifetime: a Task is a shared reference. Dropping it doesn't stop the work, and its destructor
//           doesn't wait. The pool may be used until the process ends, from the destructors of
//           static objects too; work that hasn't finished by then is not waited for. After a fork
//           the child has no pool until it calls exec.
#pragma once

#include "Quoll/Api.h"

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

namespace Quoll::Utilities
{

/// Where a task may run.
enum class TaskPlacement
{
    Anywhere, ///< On the pool, or on a thread that waits for it before it started.
    Pool      ///< On the pool's threads only: for work whose I/O must outlive the waiting thread.
};

/// @cond
namespace Detail
{

/// The state that a task and the pool share; no concern of clients.
class QUOLL_API TaskWork
{
public:
    TaskWork();
    TaskWork(const TaskWork&) = delete;
    TaskWork& operator=(const TaskWork&) = delete;
    virtual ~TaskWork();

    void Run() noexcept;                   ///< Runs the function unless somebody has begun it.
    void Wait();                           ///< Until the function has ended; runs it if that is allowed.
    bool WaitFor(std::uint32_t timeout);   ///< False if it hasn't ended within the milliseconds.
    bool HasBegun() const;                 ///< Whether the function has been called.
    bool IsDone() const;                   ///< Whether the function has ended.
    bool MayRunAnywhere() const noexcept;  ///< Whether a waiting thread may run it.
    void WaitAndRethrow();                 ///< Wait, then throws what came out of the function.
    void Confine(TaskPlacement placement); ///< Called once, before the work is known to others.

protected:
    virtual void Invoke() = 0; ///< Calls the function and keeps its result.

private:
    enum class State
    {
        Waiting,
        Running,
        Done
    };

    mutable std::mutex m_lock;
    std::condition_variable m_ended;
    State m_state = State::Waiting;
    TaskPlacement m_placement = TaskPlacement::Anywhere;
    std::exception_ptr m_failure;
};

template<class Result, class Function>
class TaskBody;

template<class Result>
class TaskResult : public TaskWork
{
public:
    Result Take()
    {
        WaitAndRethrow();
        return *m_value;
    }

protected:
    std::optional<Result> m_value;
};

template<>
class TaskResult<void> : public TaskWork
{
public:
    void Take()
    {
        WaitAndRethrow();
    }
};

template<class Result, class Function>
class TaskBody final : public TaskResult<Result>
{
public:
    explicit TaskBody(Function function)
        : m_function(std::move(function))
    {
    }

private:
    void Invoke() override
    {
        // The function's captures go as soon as it has ended, not with the last reference.
        // NOLINTNEXTLINE(bugprone-unchecked-optional-access): a task is invoked once
        Function function(std::move(*m_function));
        m_function.reset();
        if constexpr (std::is_void_v<Result>)
        {
            function();
        }
        else
        {
            this->m_value.emplace(function());
        }
    }

    std::optional<Function> m_function;
};

} // namespace Detail
/// @endcond

/// A reference to work that gives a `Result` (or nothing, for `void`).
///
/// Copies refer to the same work; they may be used by several threads at once, a single object by
/// one thread at a time. All operations but the destructor and assignment need a task that
/// TaskScheduler::Run gave.
template<class Result>
class Task
{
public:
    /// For TaskScheduler::Run.
    explicit Task(std::shared_ptr<Detail::TaskResult<Result>> work) noexcept
        : m_work(std::move(work))
    {
    }

    /// Waits for the end and gives a copy of the result, as often as it is called.
    /// Throws what came out of the function. A task that calls it on itself waits for ever.
    Result get() const
    {
        return m_work->Take();
    }

    /// Waits for the end. Runs the function on this thread if it hasn't started.
    void Wait() const
    {
        m_work->Wait();
    }

    /// Waits for the end for so many milliseconds (0xFFFFFFFF: without limit) and never runs the
    /// function itself. False if the time passed.
    bool WaitFor(std::uint32_t timeout) const
    {
        return m_work->WaitFor(timeout);
    }

    /// Whether the function has ended, by a result or by an exception.
    bool IsDone() const
    {
        return m_work->IsDone();
    }

private:
    std::shared_ptr<Detail::TaskResult<Result>> m_work;
};

/// The process's pool of threads for tasks.
class QUOLL_API TaskScheduler
{
public:
    /// Above this number of threads a task waits until one is free (or until it is waited for).
    static constexpr std::uint32_t MAX_THREADS = 256;

    TaskScheduler() = delete;

    /// Submits a function without arguments.
    ///
    /// The function and its result are moved about; the result's type must be copyable.
    /// Throws std::system_error if the pool is empty and no thread can be made, std::bad_alloc
    /// without memory; the function isn't submitted then.
    template<class Function>
    static auto Run(Function&& function, TaskPlacement placement = TaskPlacement::Anywhere)
        -> Task<std::invoke_result_t<std::decay_t<Function>&>>
    {
        using Result = std::invoke_result_t<std::decay_t<Function>&>;
        using Body = Detail::TaskBody<Result, std::decay_t<Function>>;
        auto work = std::make_shared<Body>(std::forward<Function>(function));
        work->Confine(placement);
        Submit(work);
        return Task<Result>(std::move(work));
    }

private:
    static void Submit(std::shared_ptr<Detail::TaskWork> work);
};

} // namespace Quoll::Utilities
