// Holds threads up until as many have arrived as are awaited. std::latch and std::barrier lose a wake-up under Wine
// now and then.
#pragma once

#include <condition_variable>
#include <mutex>

namespace Quoll::Tests
{

class Gate
{
public:
    explicit Gate(unsigned awaited = 1)
        : m_awaited(awaited)
    {
    }
    void Arrive()
    {
        const std::lock_guard guard(m_lock);
        if (m_awaited > 0)
        {
            --m_awaited;
        }
        m_changed.notify_all();
    }
    bool IsOpen()
    {
        const std::lock_guard guard(m_lock);
        return m_awaited == 0;
    }
    void Wait()
    {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [this] { return m_awaited == 0; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    unsigned m_awaited;
};

} // namespace Quoll::Tests
