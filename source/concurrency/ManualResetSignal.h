// A manual-reset event within the process, beside the task scheduler: no kernel object.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Quoll::Utilities
{

class ManualResetSignal
{
public:
    void Set();
    void Reset();
    bool Wait(std::uint32_t timeout); // milliseconds; 0xFFFFFFFF: without limit

private:
    std::mutex m_lock;
    std::condition_variable m_set;
    bool m_isSet = false;
};

} // namespace Quoll::Utilities
