/// @file
/// A pool of worker threads that runs callbacks in the order in which they were scheduled.
///
///     ThreadPool pool(4);
///     pool.Start();
///     std::future<int> done = pool.ScheduleTask([] { Compute(); });
///     ...
///     pool.WaitAndStop();
///     done.get();                       // 0, or the exception that came out of Compute
///
/// When a task starts: the workers sleep on one event. Each setting of it (by ScheduleTask, Start,
/// Resize, or a round of WaitAndStop) lets the workers that sleep at that moment take one task each;
/// a worker that has finished a task goes back to sleep without looking for another. So tasks start
/// in the order of their scheduling, but a task that was scheduled while all workers were busy may
/// lie in the queue until the next setting, whichever comes: further work, another Start (which does
/// no harm on a running pool), or WaitAndStop. None is forgotten: every future ends in the value 0, in
/// the task's exception, or in a broken promise when Stop or the destructor throws the task away.
///
/// Threads: any thread may call any operation at any time, with two exceptions: two calls of Resize at
/// once, and Resize at once with Stop or WaitAndStop, are not supported.
#pragma once

#include "Quoll/Api.h"

#include <functional>
#include <future>
#include <memory>

namespace Quoll::Utilities
{

/// What a pool of worker threads offers. ThreadPool tells what each operation does.
class QUOLL_API IThreadPool
{
public:
    IThreadPool() = default;
    IThreadPool(const IThreadPool&) = delete;
    IThreadPool& operator=(const IThreadPool&) = delete;
    virtual ~IThreadPool();

    virtual void Start() = 0;       ///< Accepts tasks and lets workers run them.
    virtual void Pause() = 0;       ///< Lets workers begin no further task.
    virtual void Stop() = 0;        ///< Throws queued tasks away and ends the workers.
    virtual void WaitAndStop() = 0; ///< Gives queued tasks some time, then ends the workers.

    /// Queues a task; the future tells its end.
    virtual std::future<int> ScheduleTask(std::function<void()> task) = 0;

    virtual void Resize(unsigned int threadCount) = 0; ///< Changes the number of workers.
    virtual bool HasWaitingThreads() const = 0;        ///< Whether a worker has nothing to do.
};

/// A pool with one unbounded queue and a number of workers that only Resize changes.
///
/// Its life: made (workers run, tasks are refused), Start (tasks are accepted), perhaps Pause and Start
/// again, then Stop or WaitAndStop, which leave it without workers. After that Start alone doesn't
/// bring workers back: call Start first, then Resize. Workers that Resize makes before Start see the
/// pool stopped and end at once.
///
/// Tasks of the pool itself may schedule tasks and call Start, Pause, HasWaitingThreads and a Resize to
/// more threads. Stop, WaitAndStop and any other Resize would wait for the calling worker: they
/// throw std::system_error (std::errc::resource_deadlock_would_occur) when they come to it, having
/// done all steps before that one; uncaught, the exception ends in the task's future. The pool stays
/// stopped then until it is stopped, resized or destroyed from outside.
///
/// Derived classes: the constructor starts the workers while no derived object exists yet, so that a
/// worker may or may not run an override of WorkerThread, and may run it too early. A class that
/// overrides it passes 0 to this constructor and calls Resize at the end of its own; its destructor
/// calls Stop or WaitAndStop before anything that the override uses goes.
class QUOLL_API ThreadPool : public IThreadPool
{
public:
    /// How many rounds WaitAndStop waits for the queue to become empty.
    static constexpr unsigned int MAXIMUM_WAIT_ATTEMPTS_BEFORE_CLOSE = 10;
    /// How long each of these rounds is, in milliseconds.
    static constexpr unsigned int WAIT_INTERVAL_BETWEEN_ATTEMPTS_TO_CLOSE = 500;
    /// How long an idle worker sleeps before it looks whether it is to end, in milliseconds.
    static constexpr unsigned int MAXIMUM_LOOP_WAIT_INTERVAL = 100;

    /// Makes the pool and its workers, as Resize does. Tasks are refused until Start.
    ///
    /// Throws Win32Exception if the platform has no event to give, and what Resize throws; the workers
    /// that were made already have ended by then.
    explicit ThreadPool(unsigned int threadCount);

    /// WaitAndStop; then what is still queued goes, and its futures report a broken promise.
    ///
    /// Don't destroy the pool while another thread is in one of its operations. One of its own tasks
    /// may destroy it (by dropping the last reference, say), if WorkerThread is not overridden: the
    /// destructor waits for all other workers, and the task's own worker ends when the task has.
    ~ThreadPool() override;

    /// Ends a stop and a pause, accepts tasks, and sets the event. Makes no workers.
    void Start() override;

    /// Lets workers begin no further task until Start, but for one that a worker which has just been
    /// woken may still take; tasks in progress go on, and new ones are accepted. A paused pool that has something to do
    /// costs processor time: once the event is set, paused workers go round without sleeping.
    void Pause() override;

    /// Refuses tasks from now on, throws the queued ones away (their futures report a broken promise),
    /// and ends the workers; tasks in progress run to their end first. A task that another thread
    /// schedules at the same moment may stay in the queue, until the pool is stopped or destroyed, or
    /// has workers again.
    void Stop() override;

    /// Refuses tasks from now on, waits for the queue to become empty (in rounds of half a second, at
    /// most ten), and ends the workers; tasks in progress run to their end first, however long that
    /// takes. An empty queue means no round at all, and idle workers end within
    /// MAXIMUM_LOOP_WAIT_INTERVAL. Tasks that are still queued then stay so; the destructor throws
    /// them away. On a paused pool and on one without workers all ten rounds pass in vain.
    void WaitAndStop() override;

    /// Queues `task` behind all others, whoever scheduled them, and sets the event.
    ///
    /// Never waits for a worker and takes no lock of the pool's; the queue has no limit. The future
    /// gives 0 when the task has ended, or throws what the task threw; an empty function throws
    /// std::bad_function_call when it runs. The future's destructor doesn't wait.
    ///
    /// Throws std::runtime_error "Thread pool cannot accept new tasks" before Start and after Stop or
    /// WaitAndStop, and std::bad_alloc without memory; nothing is queued then.
    std::future<int> ScheduleTask(std::function<void()> task) override;

    /// More threads than now: makes the missing ones. Fewer or as many: ends all workers, tasks in
    /// progress first, and makes `threadCount` new ones. Sets the event in either case. With 0, queued
    /// tasks stay queued.
    ///
    /// Throws std::system_error if a thread can't be made; those that were made stay.
    void Resize(unsigned int threadCount) override;

    /// Whether a worker is without a task at the moment. The answer may be old when it arrives, and
    /// counts a worker between two steps as busy.
    bool HasWaitingThreads() const override;

    /// What each worker runs from its first to its last moment. Only the pool's own threads call it;
    /// an override calls this one in between.
    virtual void WorkerThread();

protected:
    /// Makes so many workers and lists them; none for 0. Throws as Resize does.
    void AddThreads(unsigned int count);

    /// Ends all workers and makes so many fewer new ones (none if there are not so many).
    void RemoveThreads(unsigned int count);

    /// Waits for the end of all listed workers, in the order of their making, and forgets them.
    /// Throws std::system_error when it comes to the calling thread; the list stays then.
    void JoinAndClearThreads();

    /// Takes the first task off the queue and runs it; nothing if there is none.
    void TryPopTaskAndExecute();

private:
    struct State;

    // Shared with the workers: one whose task destroys the pool still needs it to come to its end.
    std::shared_ptr<State> m_state;
};

} // namespace Quoll::Utilities
