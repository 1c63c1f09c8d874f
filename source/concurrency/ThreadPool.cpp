#include "Quoll/ThreadPool.h"

#include "Quoll/Errors.h"
#include "Quoll/Synchronization.h"

#include "concurrency/TaskQueue.h"
#include "concurrency/ThreadList.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Quoll::Utilities
{

struct ThreadPool::State
{
    State()
    {
        if (!event.IsValid())
        {
            throw Win32Exception("");
        }
    }

    // Scheduling mostly finds the event set, and needn't ask the system to set it again. The flag is set before
    // the event and cleared after it: while it is set, the event is too, or will be, or a worker is about to
    // look at the queue.
    void SetEvent()
    {
        if (!isEventSet.exchange(true))
        {
            EventAccessControl::SetEvent(event);
        }
    }
    void ResetEvent()
    {
        EventAccessControl::ResetEvent(event);
        isEventSet.exchange(false); // sees all that was queued before the flag was set
    }

    void PopAndExecute() noexcept
    {
        --idle;
        const PackagedTask::Owner task = tasks.TryPop();
        if (task != nullptr)
        {
            task->Run();
        }
        ++idle;
    }

    ThreadList threads;
    TaskQueue tasks;
    SharedHandle event = EventAccessControl::CreateLocalEvent(true, false);
    std::atomic<bool> isEventSet{false};
    std::atomic<bool> stop{false};
    std::atomic<bool> accepting{false};
    std::atomic<bool> paused{false};
    std::atomic<std::uint32_t> idle{0};
};

IThreadPool::~IThreadPool() = default;

ThreadPool::ThreadPool(unsigned int threadCount)
    : m_state(std::make_shared<State>())
{
    try
    {
        ThreadPool::Resize(threadCount);
    }
    catch (...)
    {
        ThreadPool::Stop();
        throw;
    }
}

ThreadPool::~ThreadPool()
{
    try
    {
        ThreadPool::WaitAndStop();
    }
    catch (const std::exception&)
    {
        m_state->threads.JoinOrDetachAll(); // one of the pool's own tasks destroys it
    }
    m_state->tasks.Clear();
}

void ThreadPool::Start()
{
    m_state->stop = false;
    m_state->paused = false;
    m_state->accepting = true;
    m_state->SetEvent();
}

void ThreadPool::Pause()
{
    m_state->paused = true;
}

void ThreadPool::Stop()
{
    m_state->accepting = false;
    m_state->tasks.Clear();
    m_state->stop = true;
    m_state->SetEvent();
    JoinAndClearThreads();
}

void ThreadPool::WaitAndStop()
{
    m_state->accepting = false;
    for (unsigned int attempts = MAXIMUM_WAIT_ATTEMPTS_BEFORE_CLOSE; attempts > 0 && !m_state->tasks.IsEmpty();
         --attempts)
    {
        m_state->SetEvent();
        std::this_thread::sleep_for(std::chrono::milliseconds(WAIT_INTERVAL_BETWEEN_ATTEMPTS_TO_CLOSE));
    }
    m_state->stop = true;
    JoinAndClearThreads();
}

std::future<int> ThreadPool::ScheduleTask(std::function<void()> task)
{
    if (!m_state->accepting)
    {
        throw std::runtime_error("Thread pool cannot accept new tasks");
    }
    PackagedTask::Owner packaged = PackagedTask::Make(std::move(task));
    std::future<int> future = packaged->Future();
    m_state->tasks.Push(std::move(packaged));
    m_state->SetEvent();
    return future;
}

void ThreadPool::Resize(unsigned int threadCount)
{
    const std::size_t size = m_state->threads.Size();
    if (size < threadCount)
    {
        AddThreads(threadCount - static_cast<unsigned int>(size));
    }
    else
    {
        RemoveThreads(static_cast<unsigned int>(size) - threadCount);
    }
    m_state->SetEvent();
}

bool ThreadPool::HasWaitingThreads() const
{
    return m_state->idle != 0;
}

// Once a task has run, the pool may be gone, and the state alone is left.
void ThreadPool::WorkerThread()
{
    const std::shared_ptr<State> state = m_state;
    ++state->idle;
    while (!state->stop)
    {
        if (!EventAccessControl::WaitOnEvent(state->event, MAXIMUM_LOOP_WAIT_INTERVAL) || state->paused)
        {
            continue;
        }
        state->ResetEvent();
        state->PopAndExecute();
    }
    --state->idle;
}

void ThreadPool::AddThreads(unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i)
    {
        m_state->threads.Add([this] { WorkerThread(); });
    }
}

void ThreadPool::RemoveThreads(unsigned int count)
{
    const auto size = static_cast<unsigned int>(m_state->threads.Size());
    m_state->stop = true;
    JoinAndClearThreads();
    m_state->stop = false;
    AddThreads(size - std::min(count, size));
}

void ThreadPool::JoinAndClearThreads()
{
    m_state->threads.JoinAndClear();
}

void ThreadPool::TryPopTaskAndExecute()
{
    const std::shared_ptr<State> state = m_state; // the task may destroy the pool
    state->PopAndExecute();
}

} // namespace Quoll::Utilities
