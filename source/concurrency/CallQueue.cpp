#include "concurrency/CallQueue.h"

namespace Quoll::Utilities
{

CallQueue::CallQueue()
    : m_last(new Block)
    , m_first(m_last)
{
}

CallQueue::~CallQueue()
{
    Clear();
    delete m_first;
    delete m_spare.load(std::memory_order_relaxed);
}

void CallQueue::Push(const Detail::PooledCall& call)
{
    const std::lock_guard guard(m_pushLock);
    const std::uint64_t pushed = m_pushed.load(std::memory_order_relaxed);
    const std::size_t place = pushed % Block::CAPACITY;
    if (place == 0 && pushed != 0)
    {
        Block* const added = TakeSpare();
        m_last->next = added;
        m_last = added;
    }
    m_last->calls[place] = call;
    m_pushed.store(pushed + 1, std::memory_order_release);
}

bool CallQueue::TryPop(Detail::PooledCall& call) noexcept
{
    Block* emptied = nullptr;
    {
        const std::lock_guard guard(m_popLock);
        if (m_popped == m_known)
        {
            m_known = m_pushed.load(std::memory_order_acquire);
            if (m_popped == m_known)
            {
                return false;
            }
        }
        const std::size_t place = m_popped % Block::CAPACITY;
        if (place == 0 && m_popped != 0)
        {
            emptied = m_first;
            m_first = m_first->next;
        }
        call = m_first->calls[place];
        ++m_popped;
    }
    if (emptied != nullptr)
    {
        Recycle(emptied);
    }
    return true;
}

std::size_t CallQueue::Clear() noexcept
{
    std::size_t count = 0;
    for (Detail::PooledCall call; TryPop(call); ++count)
    {
        call.act(call.space, false);
    }
    return count;
}

CallQueue::Block* CallQueue::TakeSpare()
{
    Block* const spare = m_spare.exchange(nullptr, std::memory_order_acquire);
    if (spare == nullptr)
    {
        return new Block;
    }
    spare->next = nullptr;
    return spare;
}

void CallQueue::Recycle(Block* block) noexcept
{
    delete m_spare.exchange(block, std::memory_order_acq_rel);
}

} // namespace Quoll::Utilities
