// Chunks kept for the next document, so that reading large ones again and again doesn't return
// their memory to the system each time, only to ask for it anew.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace Quoll::Json::Detail
{

class Chunk;

// Keeps a fixed number of chunks of one size, for all threads. It never waits: a thread that finds
// others at work goes without.
template<std::size_t Capacity>
class ChunkStock
{
public:
    // Null if there is none.
    Chunk* Take() noexcept
    {
        for (std::size_t count = m_count.load(std::memory_order_relaxed); count > 0; --count)
        {
            if (Chunk* const chunk = m_chunks[count - 1].exchange(nullptr, std::memory_order_acquire))
            {
                m_count.store(count - 1, std::memory_order_relaxed);
                return chunk;
            }
        }
        return nullptr;
    }
    // False if there is no place left.
    bool Put(Chunk* chunk) noexcept
    {
        for (std::size_t count = m_count.load(std::memory_order_relaxed); count < Capacity; ++count)
        {
            Chunk* none = nullptr;
            if (m_chunks[count].compare_exchange_strong(none, chunk, std::memory_order_release,
                                                        std::memory_order_relaxed))
            {
                m_count.store(count + 1, std::memory_order_relaxed);
                return true;
            }
        }
        return false;
    }

private:
    std::array<std::atomic<Chunk*>, Capacity> m_chunks{};
    std::atomic<std::size_t> m_count = 0; // a hint: a place below may be free, one above taken
};

} // namespace Quoll::Json::Detail
