// Polls a condition that another thread or process is about to make true.
#pragma once

#include <chrono>
#include <thread>

namespace Quoll::Tests
{

/// Far beyond what any step takes, even under a sanitizer on a loaded machine.
constexpr std::chrono::milliseconds GenerousLimit = std::chrono::seconds(60);

/// Whether the condition became true within the limit. It is asked at least once.
template<class Condition>
bool Eventually(Condition condition, std::chrono::milliseconds limit = GenerousLimit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() >= end)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace Quoll::Tests
