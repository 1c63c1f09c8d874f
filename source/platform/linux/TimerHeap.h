// Timers in the order of their due times.
//
// A heap of four children a place keeps the due times side by side; each timer knows its place, so that
// taking out one among thousands costs little more than the first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Quoll::Platform
{

struct QueueTimer;

class TimerHeap
{
public:
    static constexpr std::uint32_t nowhere = 0xFFFFFFFF;

    /// Room for so many timers. False without memory.
    bool Reserve(std::size_t count) noexcept
    {
        return count <= m_entries.capacity() || Grow(count);
    }

    bool IsEmpty() const noexcept
    {
        return m_entries.empty();
    }
    QueueTimer& First() const noexcept
    {
        return *m_entries.front().timer;
    }
    std::int64_t FirstDue() const noexcept
    {
        return m_entries.front().due;
    }

    void Insert(QueueTimer& timer) noexcept; // there is room
    void Remove(QueueTimer& timer) noexcept; // nothing happens if it isn't in the heap
    void FirstIsLater() noexcept;            // the first timer's due time has grown

private:
    struct Entry
    {
        std::int64_t due;
        QueueTimer* timer;
    };

    bool Grow(std::size_t count) noexcept;
    void Put(std::size_t place, const Entry& entry) noexcept;
    void SiftUp(std::size_t place, const Entry& entry) noexcept;
    void SiftDown(std::size_t place, const Entry& entry) noexcept;

    std::vector<Entry> m_entries;
};

} // namespace Quoll::Platform
