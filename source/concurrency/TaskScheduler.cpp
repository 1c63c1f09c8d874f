#include "Quoll/Task.h"

#include "concurrency/AwaitedTasks.h"

#include "platform/helper_threads.h"

#include <chrono>
#include <memory>
#include <system_error>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

thread_local AwaitedTasks* awaitedTasks = nullptr;

/// A task's place in the queue of the helper threads.
struct QueuedTask : Platform::HelperWork
{
    std::shared_ptr<Detail::TaskWork> task;
};

void RunAndForget(Platform::HelperWork& work) noexcept
{
    const std::unique_ptr<QueuedTask> queued(static_cast<QueuedTask*>(&work));
    queued->task->Run();
}

void AddToPool(std::shared_ptr<Detail::TaskWork> task)
{
    static_assert(TaskScheduler::MAX_THREADS == Platform::maxHelperThreads);
    auto queued = std::make_unique<QueuedTask>();
    queued->run = RunAndForget;
    queued->task = std::move(task);
    if (!Platform::SubmitHelperWork(*queued))
    {
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    // NOLINTNEXTLINE(bugprone-unused-return-value): it is the queue's now
    queued.release();
}

} // namespace

namespace Detail
{

TaskWork::TaskWork() = default;
TaskWork::~TaskWork() = default;

void TaskWork::Run() noexcept
{
    {
        const std::lock_guard lock(m_lock);
        if (m_state != State::Waiting)
        {
            return;
        }
        m_state = State::Running;
    }
    std::exception_ptr failure;
    try
    {
        Invoke();
    }
    catch (...)
    {
        failure = std::current_exception();
    }
    {
        const std::lock_guard lock(m_lock);
        m_failure = std::move(failure);
        m_state = State::Done;
        m_ended.notify_all();
    }
}

void TaskWork::Wait()
{
    if (MayRunAnywhere() || Platform::IsHelperThread())
    {
        Run();
    }
    std::unique_lock lock(m_lock);
    m_ended.wait(lock, [this] { return m_state == State::Done; });
}

bool TaskWork::WaitFor(std::uint32_t timeout)
{
    std::unique_lock lock(m_lock);
    const auto done = [this] {
        return m_state == State::Done;
    };
    if (timeout == 0xFFFFFFFF)
    {
        m_ended.wait(lock, done);
        return true;
    }
    return m_ended.wait_for(lock, std::chrono::milliseconds(timeout), done);
}

bool TaskWork::HasBegun() const
{
    const std::lock_guard lock(m_lock);
    return m_state != State::Waiting;
}

bool TaskWork::MayRunAnywhere() const noexcept
{
    return m_placement == TaskPlacement::Anywhere;
}

bool TaskWork::IsDone() const
{
    const std::lock_guard lock(m_lock);
    return m_state == State::Done;
}

void TaskWork::WaitAndRethrow()
{
    Wait();
    if (m_failure)
    {
        std::rethrow_exception(m_failure);
    }
}

void TaskWork::Confine(TaskPlacement placement)
{
    m_placement = placement;
}

} // namespace Detail

void TaskScheduler::Submit(std::shared_ptr<Detail::TaskWork> work)
{
    auto* awaited = AwaitedTasks::Current();
    if (awaited != nullptr && work->MayRunAnywhere())
    {
        awaited->Add(std::move(work));
        return;
    }
    AddToPool(std::move(work));
}

AwaitedTasks::AwaitedTasks() noexcept
    : m_outer(awaitedTasks)
{
    awaitedTasks = this;
}

AwaitedTasks::~AwaitedTasks()
{
    awaitedTasks = m_outer;
    for (auto& work : m_tasks)
    {
        if (work->HasBegun())
        {
            continue;
        }
        try
        {
            AddToPool(work);
        }
        catch (const std::exception&)
        {
            work->Run();
        }
    }
}

AwaitedTasks* AwaitedTasks::Current() noexcept
{
    return awaitedTasks;
}

void AwaitedTasks::Add(std::shared_ptr<Detail::TaskWork> work)
{
    m_tasks.push_back(std::move(work));
}

} // namespace Quoll::Utilities
