#include "platform/linux/TimerHeap.h"

#include "platform/linux/TimerRecords.h"

#include <algorithm>
#include <new>

namespace Quoll::Platform
{
namespace
{

constexpr std::size_t children = 4;

} // namespace

bool TimerHeap::Grow(std::size_t count) noexcept
try
{
    m_entries.reserve(count);
    return true;
}
catch (const std::bad_alloc&)
{
    return false;
}

void TimerHeap::Put(std::size_t place, const Entry& entry) noexcept
{
    m_entries[place] = entry;
    entry.timer->place = static_cast<std::uint32_t>(place);
}

void TimerHeap::SiftUp(std::size_t place, const Entry& entry) noexcept
{
    while (place > 0)
    {
        const std::size_t parent = (place - 1) / children;
        if (m_entries[parent].due <= entry.due)
        {
            break;
        }
        Put(place, m_entries[parent]);
        place = parent;
    }
    Put(place, entry);
}

void TimerHeap::SiftDown(std::size_t place, const Entry& entry) noexcept
{
    for (;;)
    {
        const std::size_t begin = place * children + 1;
        const std::size_t end = std::min(begin + children, m_entries.size());
        if (begin >= end)
        {
            break;
        }
        std::size_t least = begin;
        for (std::size_t child = begin + 1; child < end; ++child)
        {
            if (m_entries[child].due < m_entries[least].due)
            {
                least = child;
            }
        }
        if (m_entries[least].due >= entry.due)
        {
            break;
        }
        Put(place, m_entries[least]);
        place = least;
    }
    Put(place, entry);
}

void TimerHeap::Insert(QueueTimer& timer) noexcept
{
    const Entry entry{timer.due, &timer};
    m_entries.push_back(entry);
    SiftUp(m_entries.size() - 1, entry);
}

void TimerHeap::Remove(QueueTimer& timer) noexcept
{
    const std::size_t place = timer.place;
    if (place == nowhere)
    {
        return;
    }
    timer.place = nowhere;
    const Entry last = m_entries.back();
    m_entries.pop_back();
    if (place == m_entries.size())
    {
        return;
    }
    if (last.due < timer.due)
    {
        SiftUp(place, last);
    }
    else
    {
        SiftDown(place, last);
    }
}

void TimerHeap::FirstIsLater() noexcept
{
    QueueTimer& first = First();
    SiftDown(0, {first.due, &first});
}

} // namespace Quoll::Platform
