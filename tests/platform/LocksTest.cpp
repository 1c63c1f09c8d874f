#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Quoll::Tests
{

namespace
{

// Writers keep two counters equal; a reader that sees them differ was let in beside a writer.
TEST(SlimLockContract, ReadersSeeWholeWrites)
{
    SRWLOCK lock;
    InitializeSRWLock(&lock);
    int first = 0;
    int second = 0;
    std::atomic<int> torn = 0;
    const auto work = [&](bool writes) {
        for (int round = 0; round < 5000; ++round)
        {
            if (writes)
            {
                AcquireSRWLockExclusive(&lock);
                ++first;
                ++second;
                ReleaseSRWLockExclusive(&lock);
            }
            else
            {
                AcquireSRWLockShared(&lock);
                torn += first != second ? 1 : 0;
                ReleaseSRWLockShared(&lock);
            }
        }
    };
    std::vector<std::jthread> threads;
    for (const bool writes : {true, false, true, false})
    {
        threads.emplace_back(work, writes);
    }
    threads.clear();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(first, 10000);
}

} // namespace

} // namespace Quoll::Tests
