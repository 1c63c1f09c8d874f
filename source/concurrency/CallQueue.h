// The functions of a system thread pool, first in first out.
#pragma once

#include "Quoll/SystemThreadPool.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

namespace Quoll::Utilities
{

// Blocks of calls, with a lock at either end: those who add and those who take don't meet, but for the
// number of calls added, which a taker reads only when it has taken all that it knows of.
class CallQueue
{
public:
    CallQueue();
    CallQueue(const CallQueue&) = delete;
    CallQueue& operator=(const CallQueue&) = delete;
    ~CallQueue();

    void Push(const Detail::PooledCall& call); // std::bad_alloc
    bool TryPop(Detail::PooledCall& call) noexcept;
    std::size_t Clear() noexcept; // drops all; how many there were

private:
    struct Block
    {
        static constexpr std::size_t CAPACITY = 64;

        std::array<Detail::PooledCall, CAPACITY> calls;
        Block* next = nullptr;
    };

    Block* TakeSpare();
    void Recycle(Block* block) noexcept;

    alignas(64) std::mutex m_pushLock;
    Block* m_last;
    std::atomic<std::uint64_t> m_pushed{0};
    alignas(64) std::mutex m_popLock;
    Block* m_first;
    std::uint64_t m_popped = 0;
    std::uint64_t m_known = 0;
    alignas(64) std::atomic<Block*> m_spare{nullptr}; // one emptied block
};

} // namespace Quoll::Utilities
