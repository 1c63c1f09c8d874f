#include "Quoll/Stopwatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

namespace
{

using namespace Quoll::Utilities;

// Until the clock has moved on.
void WaitForTick(const Stopwatch& stopwatch)
{
    const TimeSpan before = stopwatch.GetElapsed();
    while (stopwatch.GetElapsed() == before)
    {
    }
}

TEST(Stopwatch, AddsUpWhatItRan)
{
    Stopwatch stopwatch;
    EXPECT_EQ(stopwatch.GetElapsed(), TimeSpan());
    const auto begin = std::chrono::steady_clock::now();
    stopwatch.Start();
    WaitForTick(stopwatch);
    stopwatch.Start(); // which changes nothing
    stopwatch.Stop();
    const TimeSpan first = stopwatch.GetElapsed();
    EXPECT_GT(first, TimeSpan());
    EXPECT_EQ(stopwatch.GetElapsed(), first);
    stopwatch.Stop();
    EXPECT_EQ(stopwatch.GetElapsed(), first);
    stopwatch.Start();
    WaitForTick(stopwatch);
    EXPECT_TRUE(stopwatch.IsRunning());
    EXPECT_GT(stopwatch.GetElapsed(), first);
    const auto bound = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - begin);
    EXPECT_LE(first.GetTicks(), bound.count() / 100 + 1);
    stopwatch.Restart();
    EXPECT_TRUE(stopwatch.IsRunning());
    stopwatch.Reset();
    EXPECT_FALSE(stopwatch.IsRunning());
    EXPECT_EQ(stopwatch.GetElapsed(), TimeSpan());
}

TEST(ExecutionTimer, TellsItsLifetimeOnce)
{
    int calls = 0;
    TimeSpan last;
    TimeSpan told;
    {
        const ExecutionTimer timer([&](const TimeSpan& time) {
            ++calls;
            told = time;
            throw std::runtime_error("nobody hears this");
        });
        last = timer.GetElapsed();
    }
    EXPECT_EQ(calls, 1);
    EXPECT_GE(told, last);
    const ExecutionTimer silent(nullptr);
}

} // namespace
