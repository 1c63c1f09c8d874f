#include "Quoll/Timer.h"

#include "Quoll/Errors.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/ForcedFailure.h"
#include "support/Gate.h"
#include "support/MessageOf.h"
#include "support/Threads.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace Quoll::Tests
{

using Utilities::Timer;
using Utilities::Win32Exception;

namespace
{

constexpr int Hour = 3'600'000;

struct Exposed : Timer
{
    using Timer::TimerCallback;
};

TEST(TimerTest, RunsOnceAndCountsAsRunningUntilItIsStopped)
{
    std::atomic<int> runs{0};
    Timer timer(0, true, [&] { ++runs; });
    EXPECT_TRUE(Eventually([&] { return timer.IsDone(); }));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(timer.IsRunning());
    EXPECT_TRUE(timer.IsRunOnce());
    timer.Stop();
    EXPECT_FALSE(timer.IsRunning());
    timer.SetDone(false);
    timer.Stop();
    EXPECT_TRUE(timer.IsDone()) << "without a handle as well";
    timer.SetDone(false);
    timer.Start(-1, true, [&] { ++runs; });
    EXPECT_FALSE(timer.IsDone()) << "a start leaves it alone, and -1 never comes";
}

TEST(TimerTest, RunsEveryIntervalAndNotAfterStop)
{
    std::atomic<int> runs{0};
    Timer timer;
    EXPECT_FALSE(timer.IsRunning() || timer.IsDone() || timer.IsRunOnce());
    timer.Start(1, false, [&] { ++runs; });
    EXPECT_TRUE(Eventually([&] { return runs > 20; }));
    EXPECT_FALSE(timer.IsDone());
    timer.Stop();
    const int after = runs;
    std::atomic<bool> later{false};
    const Timer other(10, true, [&] { later = true; });
    EXPECT_TRUE(Eventually([&] { return later.load(); }));
    EXPECT_EQ(runs, after);
    EXPECT_TRUE(timer.IsDone());
}

TEST(TimerTest, ASecondStartIsRefusedButForTheFlag)
{
    std::atomic<int> first{0};
    Timer timer(1, false, [&] { ++first; });
    const auto again = [&] {
        timer.Start(1, true, [] { ADD_FAILURE() << "the second action"; });
    };
    EXPECT_EQ(MessageOf<std::runtime_error>(again), "Timer already started.");
    EXPECT_TRUE(timer.IsRunOnce());
    const int before = first;
    EXPECT_TRUE(Eventually([&] { return first > before + 2; }));
}

TEST(TimerTest, ADisabledTimerFiresWithoutItsAction)
{
    std::atomic<int> runs{0};
    Exposed timer;
    timer.Start(Hour, true, [&] { ++runs; });
    timer.SetEnabled(false);
    Exposed::TimerCallback(static_cast<Timer*>(&timer), true);
    EXPECT_EQ(runs, 0);
    EXPECT_FALSE(timer.IsDone());
    timer.SetEnabled(true);
    EXPECT_TRUE(timer.IsEnabled());
    Exposed::TimerCallback(static_cast<Timer*>(&timer), true);
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(timer.IsDone());
    timer.Stop();
    timer.Start(Hour, false, nullptr);
    EXPECT_THROW(Exposed::TimerCallback(static_cast<Timer*>(&timer), true), std::bad_function_call);
}

TEST(TimerTest, StopWaitsForTheActionButNotFromWithinIt)
{
    for (const bool fromWithin : {false, true})
    {
        Timer timer;
        std::atomic<bool> ended{false};
        Gate begun;
        Gate started;
        timer.Start(0, false, [&] {
            started.Wait();
            begun.Arrive();
            if (fromWithin)
            {
                timer.Stop();
                EXPECT_FALSE(timer.IsRunning());
            }
            std::this_thread::yield();
            ended = true;
        });
        started.Arrive();
        begun.Wait();
        if (fromWithin)
        {
            EXPECT_TRUE(Eventually([&] { return ended.load(); }));
        }
        else
        {
            timer.Stop();
            EXPECT_TRUE(ended);
        }
        EXPECT_TRUE(timer.IsDone());
    }
}

TEST(TimerTest, FailuresOfThePlatform)
{
    Timer timer;
    {
        const ForcedFailure failure(ForcedCall::CreateTimerQueueTimer, ERROR_NOT_ENOUGH_MEMORY);
        const auto start = [&] {
            timer.Start(Hour, true, [] {});
        };
        EXPECT_TRUE(MessageOf<Win32Exception>(start).starts_with("CreateTimerQueueTimer failed.: "));
    }
    EXPECT_TRUE(timer.IsRunOnce());
    EXPECT_FALSE(timer.IsRunning());
    timer.Start(Hour, true, [] {});
    {
        const ForcedFailure failure(ForcedCall::DeleteTimerQueueTimer, ERROR_INVALID_HANDLE);
        EXPECT_TRUE(MessageOf<Win32Exception>([&] { timer.Stop(); }).starts_with("DeleteTimerQueueTimer failed.: "));
    }
    EXPECT_TRUE(timer.IsRunning());
    EXPECT_FALSE(timer.IsDone());
}

TEST(TimerTest, ManyThreadsStartAndStopTheirOwn)
{
    OnThreads(4, [](unsigned) {
        for (int round = 0; round < 500; ++round)
        {
            auto plain = std::make_unique<int>(0);
            const Timer timer(round % 3, true, [&] { ++*plain; });
            const Timer periodic(1, false, [] {});
        }
    });
}

// Made before the shared queue, so that it goes after it; the action may run to the last moment.
Timer lateTimer;

CHILD_PROCESS(EndOfTimers)
{
    const std::string& how = arguments.at(0);
    std::atomic<int> runs{0};
    static Timer early; // made before the queue as well, but stopped by exit while its action runs
    if (how == "empty action")
    {
        early.Start(0, true, nullptr);
        Gate().Wait();
    }
    if (how == "exit in an action")
    {
        lateTimer.Start(1, false, [] {});
        early.Start(1, true, [] { std::exit(7); });
        Gate().Wait();
    }
    lateTimer.Start(1, false, [&runs] { ++runs; });
    static const Timer other(1, false, [] {}); // goes before the queue
    if (how == "an action that never ends")
    {
        early.Start(0, true, [] { Gate().Wait(); });
    }
    if (!Eventually([&] { return runs > 5; }))
    {
        return 1;
    }
    lateTimer.Stop();
    lateTimer.Start(1, false, [] {});
    std::exit(7);
}

TEST(TimerTest, TheEndOfTheProcess)
{
    for (const char* how : {"ordinary", "exit in an action", "an action that never ends"})
    {
        EXPECT_EQ(ChildProcess("EndOfTimers", {how}).Wait(), 7) << how;
    }
    const int crashed = ChildProcess("EndOfTimers", {"empty action"}).Wait();
    EXPECT_TRUE(crashed != 0 && crashed != 7) << crashed;
    ChildProcess withoutQueue("EndOfTimers", {"ordinary"}, {ForcedFromTheStart(ForcedCall::CreateTimerQueue, 8)});
    EXPECT_EQ(withoutQueue.Wait(), 7) << "the default queue takes its place";
}

} // namespace

} // namespace Quoll::Tests
