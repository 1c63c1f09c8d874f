#include "platform/linux/Waitable.h"

namespace Quoll::Platform
{

bool Waitable::TryTake(ThreadRecord& thread, DWORD& code) noexcept
{
    const std::lock_guard guard(lock);
    if (!IsReady(thread))
    {
        return false;
    }
    code = OutcomeBits();
    Take(thread);
    return true;
}

bool Waitable::EnqueueOrDecide(WaitBlock& block) noexcept
{
    const std::lock_guard guard(lock);
    // Queued first: that ends the lock-free road of events, so that no signal slips in between.
    Enqueue(block);
    if (IsReady(block.waiter->thread))
    {
        Offer(block);
        if (block.queued)
        {
            Unlink(block);
        }
    }
    return block.waiter->IsPending();
}

// One decision; whoever decides also takes.
void Waitable::Offer(WaitBlock& block) noexcept
{
    Waiter& waiter = *block.waiter;
    if (waiter.Decide(block.index | OutcomeBits()))
    {
        Take(waiter.thread);
        Unlink(block);
    }
}

void Waitable::Enqueue(WaitBlock& block) noexcept
{
    block.queued = true;
    block.next = nullptr;
    block.previous = m_last;
    (m_last != nullptr ? m_last->next : m_first) = &block;
    m_last = &block;
    WaitersChanged(true);
}

void Waitable::Unlink(WaitBlock& block) noexcept
{
    (block.previous != nullptr ? block.previous->next : m_first) = block.next;
    (block.next != nullptr ? block.next->previous : m_last) = block.previous;
    block.queued = false;
    if (m_first == nullptr)
    {
        WaitersChanged(false);
    }
}

void Waitable::Dequeue(WaitBlock& block) noexcept
{
    const std::lock_guard guard(lock);
    if (block.queued)
    {
        Unlink(block);
    }
}

void Waitable::Serve(WakeList& wake) noexcept
{
    for (WaitBlock* block = m_first; block != nullptr;)
    {
        WaitBlock* const next = block->next;
        Waiter& waiter = *block->waiter;
        if (!IsReady(waiter.thread))
        {
            return;
        }
        if (waiter.all)
        {
            wake.Add(waiter.thread);
        }
        else
        {
            Offer(*block);
            if (!block->queued)
            {
                wake.Add(waiter.thread);
            }
        }
        block = next;
    }
}

void Waitable::AttachOperation(Operation& operation) noexcept
{
    WakeList wake;
    const std::lock_guard guard(lock);
    operation.Retain();
    operation.m_attached = true;
    operation.m_next = m_operations;
    operation.m_previous = nullptr;
    if (m_operations != nullptr)
    {
        m_operations->m_previous = &operation;
    }
    m_operations = &operation;
    // Threads that sleep here already have to take the new descriptor into their set.
    for (WaitBlock* block = m_first; block != nullptr; block = block->next)
    {
        wake.Add(block->waiter->thread);
    }
}

void Waitable::RemoveOperation(Operation& operation) noexcept
{
    if (!std::exchange(operation.m_attached, false))
    {
        return;
    }
    (operation.m_previous != nullptr ? operation.m_previous->m_next : m_operations) = operation.m_next;
    if (operation.m_next != nullptr)
    {
        operation.m_next->m_previous = operation.m_previous;
    }
    operation.Release();
}

void Waitable::CollectOperations(std::vector<Ref<Operation>>& found)
{
    const std::lock_guard guard(lock);
    for (Operation* operation = m_operations; operation != nullptr; operation = operation->m_next)
    {
        found.emplace_back(operation);
    }
}

} // namespace Quoll::Platform
