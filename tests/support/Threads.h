// Does the same on several threads at once.
#pragma once

#include <thread>
#include <vector>

namespace Quoll::Tests
{

/// Calls `work` with the numbers from 0, each on a thread of its own, and waits for all to end.
template<class Work>
void OnThreads(unsigned count, const Work& work)
{
    std::vector<std::jthread> threads;
    for (unsigned number = 0; number < count; ++number)
    {
        threads.emplace_back([&work, number] { work(number); });
    }
}

} // namespace Quoll::Tests
