#include "Quoll/TimerThread.h"

#include "Quoll/Errors.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/ForcedFailure.h"
#include "support/Gate.h"
#include "support/MessageOf.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace Quoll::Tests
{

using Utilities::TimerThread;
using Utilities::Win32Exception;

namespace
{

constexpr std::uint32_t Never = 0xFFFFFFFF;

/// Runs on demand only, and tells how often it ran.
class OnDemand
{
public:
    bool RunsAgain()
    {
        const int before = runs;
        thread.SetEvent();
        return Eventually([&] { return runs > before; });
    }

    std::atomic<int> runs{0};
    TimerThread thread{[this] { ++runs; }, Never};
};

TEST(TimerThreadTest, RunsEveryInterval)
{
    for (const std::uint32_t interval : {0u, 1u})
    {
        std::atomic<int> runs{0};
        TimerThread thread([&] { ++runs; }, Never);
        thread.SetInterval(interval);
        EXPECT_EQ(thread.GetInterval(), interval);
        thread.Start();
        EXPECT_TRUE(Eventually([&] { return runs > 20; }));
        thread.Stop();
        const int after = runs;
        thread.Stop();
        EXPECT_EQ(runs, after);
    }
}

TEST(TimerThreadTest, RunsOnlyWhenToldWithAnEndlessInterval)
{
    OnDemand demand;
    demand.thread.Start();
    EXPECT_TRUE(demand.RunsAgain());
    EXPECT_TRUE(demand.RunsAgain());
    EXPECT_EQ(demand.runs, 2);
    demand.thread.Stop();
    EXPECT_LE(demand.runs, 3) << "at most once more on the way out";
    demand.thread.Start();
    EXPECT_TRUE(demand.RunsAgain());
}

TEST(TimerThreadTest, EventsDuringARunFoldIntoOne)
{
    std::atomic<int> runs{0};
    Gate begun;
    Gate go;
    TimerThread thread(
        [&] {
            if (++runs == 1)
            {
                begun.Arrive();
                go.Wait();
            }
        },
        Never);
    thread.Start();
    thread.SetEvent();
    begun.Wait();
    // Each is a call of the server under Wine.
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    for (int i = 0; i < 1'000'000 && std::chrono::steady_clock::now() < patience; ++i)
    {
        thread.SetEvent();
    }
    go.Arrive();
    EXPECT_TRUE(Eventually([&] { return runs == 2; }));
    thread.Pause(); // so that Stop doesn't run it
    thread.Stop();
    EXPECT_EQ(runs, 2);
}

TEST(TimerThreadTest, APauseSkipsTheActionUntilTheNextStart)
{
    OnDemand demand;
    demand.thread.Start();
    demand.thread.Pause();
    demand.thread.SetEvent();
    demand.thread.Stop();
    EXPECT_EQ(demand.runs, 0);
    demand.thread.Start(); // from stopped: it stays paused
    demand.thread.SetEvent();
    demand.thread.Start(); // resumes, and runs at once
    EXPECT_TRUE(Eventually([&] { return demand.runs > 0; }));
    demand.thread.Start(); // nothing to resume
    EXPECT_TRUE(demand.RunsAgain());
}

TEST(TimerThreadTest, KeepsExceptionsInTheirOrder)
{
    std::atomic<int> runs{0};
    TimerThread thread([&] { throw std::out_of_range(std::to_string(runs++)); }, 0);
    EXPECT_FALSE(thread.HasExceptions());
    thread.Start();
    std::vector<std::exception_ptr> all;
    while (all.size() < 1000)
    {
        for (auto& exception : thread.ResetExceptions())
        {
            all.push_back(std::move(exception));
        }
    }
    EXPECT_TRUE(Eventually([&] { return thread.HasExceptions(); }));
    thread.Stop();
    EXPECT_TRUE(thread.HasExceptions()) << "they survive the stop";
    for (auto& exception : thread.ResetExceptions())
    {
        all.push_back(std::move(exception));
    }
    EXPECT_FALSE(thread.HasExceptions());
    ASSERT_EQ(all.size(), static_cast<std::size_t>(runs));
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        EXPECT_EQ(MessageOf<std::out_of_range>([&] { std::rethrow_exception(all[i]); }), std::to_string(i));
    }
}

TEST(TimerThreadTest, AStopFromItsOwnActionEndsItAllTheSame)
{
    const std::system_error deadlock(std::make_error_code(std::errc::resource_deadlock_would_occur));
    std::atomic<int> runs{0};
    std::unique_ptr<TimerThread> thread;
    bool startsAgain = false;
    thread = std::make_unique<TimerThread>(
        [&] {
            ++runs;
            try
            {
                thread->Stop();
            }
            catch (const std::system_error&)
            {
                if (!startsAgain)
                {
                    throw;
                }
            }
            thread->Start();
        },
        0);
    for (int round = 1; round <= 4; ++round)
    {
        startsAgain = round > 2;
        thread->Start(); // joins the thread of the round before
        EXPECT_TRUE(Eventually([&] { return thread->HasExceptions(); }));
        EXPECT_EQ(runs, round);
        for (const auto& exception : thread->ResetExceptions())
        {
            EXPECT_EQ(MessageOf<std::system_error>([&] { std::rethrow_exception(exception); }), deadlock.what());
        }
        if (round == 2)
        {
            thread->Stop();
        }
    }
    thread.reset();
    EXPECT_EQ(runs, 4);
}

TEST(TimerThreadTest, SetActionWaitsForARunAndAnEmptyActionIsSkipped)
{
    Gate begun;
    std::atomic<bool> ended{false};
    TimerThread thread(
        [&] {
            begun.Arrive();
            for (int i = 0; i < 1000; ++i)
            {
                std::this_thread::yield();
            }
            ended = true;
        },
        Never);
    thread.Start();
    thread.SetEvent();
    begun.Wait();
    thread.SetAction(nullptr);
    EXPECT_TRUE(ended);
    thread.SetInterval(0);
    thread.SetEvent();
    std::atomic<int> runs{0};
    thread.SetAction([&] { ++runs; });
    EXPECT_TRUE(Eventually([&] { return runs > 2; }));
    thread.Stop();
    EXPECT_FALSE(thread.HasExceptions());
}

TEST(TimerThreadTest, AllFromManyThreads)
{
    std::atomic<int> runs{0};
    TimerThread thread([&] { ++runs; }, 0);
    thread.Start();
    OnThreads(4, [&](unsigned) {
        for (std::uint32_t round = 0; round < 500; ++round)
        {
            thread.SetInterval(round % 2);
            thread.SetEvent();
            thread.SetAction([&] {
                ++runs;
                throw std::runtime_error("kept");
            });
            thread.Pause();
            thread.ResetExceptions();
            EXPECT_LE(thread.GetInterval(), 1u);
        }
    });
    thread.Start();
    EXPECT_TRUE(Eventually([&] { return thread.HasExceptions(); }));
}

TEST(TimerThreadTest, NeedsAnEvent)
{
    const ForcedFailure failure(ForcedCall::CreateEventW, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_THROW(TimerThread([] {}, 1), Win32Exception);
}

CHILD_PROCESS(ForeignException)
{
    TimerThread thread([] { throw 5; }, 0);
    thread.Start();
    Gate().Wait();
    return 0;
}

TEST(TimerThreadTest, AnyOtherExceptionEndsTheProcess)
{
    EXPECT_NE(ChildProcess("ForeignException").Wait(), 0);
}

} // namespace

} // namespace Quoll::Tests
