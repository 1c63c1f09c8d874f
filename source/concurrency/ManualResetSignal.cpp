#include "concurrency/ManualResetSignal.h"

#include <chrono>

namespace Quoll::Utilities
{

void ManualResetSignal::Set()
{
    {
        const std::lock_guard lock(m_lock);
        m_isSet = true;
    }
    m_set.notify_all();
}

void ManualResetSignal::Reset()
{
    const std::lock_guard lock(m_lock);
    m_isSet = false;
}

bool ManualResetSignal::Wait(std::uint32_t timeout)
{
    std::unique_lock lock(m_lock);
    const auto isSet = [this] {
        return m_isSet;
    };
    if (timeout == 0xFFFFFFFF)
    {
        m_set.wait(lock, isSet);
        return true;
    }
    return m_set.wait_for(lock, std::chrono::milliseconds(timeout), isSet);
}

} // namespace Quoll::Utilities
