#include "concurrency/TaskQueue.h"

#include <chrono>
#include <thread>
#include <utility>

namespace Quoll::Utilities
{

TaskQueue::TaskQueue()
    : m_taken(new PackagedTask)
    , m_last(m_taken)
{
}

TaskQueue::~TaskQueue()
{
    Clear();
    m_taken->DropOwner();
}

void TaskQueue::Push(PackagedTask::Owner task) noexcept
{
    PackagedTask* const added = task.release();
    added->AddOwner(); // its place in the list
    PackagedTask* const before = m_last.exchange(added, std::memory_order_acq_rel);
    before->m_next.store(added, std::memory_order_release);
}

PackagedTask::Owner TaskQueue::TryPop() noexcept
{
    PackagedTask* before = nullptr;
    PackagedTask* first = nullptr;
    {
        const std::lock_guard guard(m_takeLock);
        first = m_taken->m_next.load(std::memory_order_acquire);
        if (first == nullptr)
        {
            return nullptr;
        }
        before = std::exchange(m_taken, first);
    }
    before->DropOwner();
    return PackagedTask::Owner(first);
}

bool TaskQueue::IsEmpty() const noexcept
{
    const std::lock_guard guard(m_takeLock);
    return m_taken == m_last.load(std::memory_order_acquire);
}

// A producer that lost its processor before the link holds up what is behind it, for as long as it
// takes to come back; sleeping lets it do so whatever the threads' priorities.
void TaskQueue::Clear() noexcept
{
    constexpr int yields = 64;
    for (int vain = 0; !IsEmpty();)
    {
        if (TryPop() != nullptr)
        {
            vain = 0;
        }
        else if (++vain < yields)
        {
            std::this_thread::yield();
        }
        else
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

} // namespace Quoll::Utilities
