#include "Quoll/Task.h"

#include "concurrency/AwaitedTasks.h"

#include <chrono>
#include <deque>
#include <system_error>
#include <thread>

namespace Quoll::Utilities
{

namespace
{

thread_local bool onPoolThread = false;
thread_local AwaitedTasks* awaitedTasks = nullptr;

class Pool
{
public:
    // Never destroyed: its threads live as long as the process.
    static Pool& Instance()
    {
        static Pool& pool = *new Pool;
        return pool;
    }

    void Add(std::shared_ptr<Detail::TaskWork> work)
    {
        {
            const std::lock_guard lock(m_lock);
            m_queue.push_back(std::move(work));
            if (m_queue.size() > m_idle && m_threads < TaskScheduler::MAX_THREADS)
            {
                StartThread();
            }
        }
        m_added.notify_one();
    }

private:
    // Without a new thread the work waits for one that is there; without any it is refused.
    void StartThread()
    {
        try
        {
            std::thread([this] { Serve(); }).detach();
            ++m_threads;
        }
        catch (const std::system_error&)
        {
            if (m_threads == 0)
            {
                m_queue.pop_back();
                throw;
            }
        }
    }

    [[noreturn]] void Serve()
    {
        onPoolThread = true;
        std::unique_lock lock(m_lock);
        for (;;)
        {
            ++m_idle;
            m_added.wait(lock, [this] { return !m_queue.empty(); });
            --m_idle;
            auto work = std::move(m_queue.front());
            m_queue.pop_front();
            lock.unlock();
            work->Run();
            work.reset();
            lock.lock();
        }
    }

    std::mutex m_lock;
    std::condition_variable m_added;
    std::deque<std::shared_ptr<Detail::TaskWork>> m_queue;
    std::size_t m_idle = 0;
    std::uint32_t m_threads = 0;
};

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
    if (MayRunAnywhere() || onPoolThread)
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
    Pool::Instance().Add(std::move(work));
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
            Pool::Instance().Add(work);
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
