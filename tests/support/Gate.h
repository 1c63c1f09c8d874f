// Holds threads up until it is opened. std::latch and std::barrier lose a wake-up under Wine now and then.
#pragma once

#include <condition_variable>
#include <mutex>

namespace Quoll::Tests
{

class Gate
{
public:
    void Open()
    {
        const std::lock_guard guard(m_lock);
        m_isOpen = true;
        m_opened.notify_all();
    }
    void Wait()
    {
        std::unique_lock guard(m_lock);
        m_opened.wait(guard, [this] { return m_isOpen; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_opened;
    bool m_isOpen = false;
};

} // namespace Quoll::Tests
