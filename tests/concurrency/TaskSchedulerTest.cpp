#include "Quoll/Task.h"

#include "concurrency/AwaitedTasks.h"
#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Quoll::Tests
{

using Utilities::AwaitedTasks;
using Utilities::Task;
using Utilities::TaskPlacement;
using Utilities::TaskScheduler;

namespace
{

TEST(TaskScheduler, DeliversResultsAsOftenAsAsked)
{
    const auto task = TaskScheduler::Run([] { return std::string("done"); });
    EXPECT_EQ(task.get(), "done");
    EXPECT_EQ(Task<std::string>(task).get(), "done");
    EXPECT_TRUE(task.IsDone());
}

TEST(TaskScheduler, DeliversExceptions)
{
    const auto task = TaskScheduler::Run([]() -> int { throw std::out_of_range("here"); });
    EXPECT_THROW(task.get(), std::out_of_range);
    EXPECT_THROW(task.get(), std::out_of_range);
    EXPECT_NO_THROW(task.Wait());
}

TEST(TaskScheduler, RunsWhatNobodyWaitsFor)
{
    std::atomic<bool> ran{false};
    TaskScheduler::Run([&ran] { ran = true; });
    EXPECT_TRUE(Eventually([&ran] { return ran.load(); }));
}

TEST(TaskScheduler, GrowsWhileAllThreadsAreBlocked)
{
    constexpr int BLOCKED = 40;
    std::latch all(BLOCKED);
    std::vector<Task<void>> tasks;
    for (int i = 0; i < BLOCKED; ++i)
    {
        tasks.push_back(TaskScheduler::Run([&all] { all.arrive_and_wait(); }));
    }
    for (const auto& task : tasks)
    {
        EXPECT_TRUE(task.WaitFor(60000));
    }
}

TEST(TaskScheduler, WaitForGivesUp)
{
    std::latch release(1);
    const auto task = TaskScheduler::Run([&release] { release.wait(); }, TaskPlacement::Pool);
    EXPECT_FALSE(task.WaitFor(1));
    release.count_down();
    EXPECT_TRUE(task.WaitFor(0xFFFFFFFF));
}

TEST(TaskScheduler, KeepsWorkOnThePool)
{
    const auto task = TaskScheduler::Run([] { return std::this_thread::get_id(); }, TaskPlacement::Pool);
    EXPECT_NE(task.get(), std::this_thread::get_id());
}

TEST(TaskScheduler, StartsInTheOrderOfSubmission)
{
    // Every thread that there may be is blocked; the one that comes free takes all that was submitted.
    std::latch one(1);
    std::latch others(1);
    std::vector<Task<void>> blocked;
    std::atomic<unsigned> waiting{0};
    for (unsigned i = 0; i < TaskScheduler::MAX_THREADS; ++i)
    {
        blocked.push_back(TaskScheduler::Run(
            [&waiting, &release = i == 0 ? one : others] {
                ++waiting;
                release.wait();
            },
            TaskPlacement::Pool));
    }
    ASSERT_TRUE(Eventually([&] { return waiting == TaskScheduler::MAX_THREADS; }));
    std::vector<int> order;
    std::vector<Task<void>> tasks;
    for (int i = 0; i < 50; ++i)
    {
        tasks.push_back(TaskScheduler::Run([&order, i] { order.push_back(i); }));
    }
    const auto awaited = TaskScheduler::Run([] { return std::this_thread::get_id(); });
    EXPECT_EQ(awaited.get(), std::this_thread::get_id()) << "waiting doesn't wait for a free thread";
    one.count_down();
    for (const auto& task : tasks)
    {
        EXPECT_TRUE(task.WaitFor(60000));
    }
    others.count_down();
    for (const auto& task : blocked)
    {
        task.Wait();
    }
    ASSERT_EQ(order.size(), 50u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(TaskScheduler, HoldsBackTasksThatAreAboutToBeAwaited)
{
    const auto own = std::this_thread::get_id();
    Task<std::thread::id> left = TaskScheduler::Run([own] { return own; });
    {
        const AwaitedTasks awaited;
        EXPECT_EQ(TaskScheduler::Run([] { return std::this_thread::get_id(); }).get(), own);
        EXPECT_NE(TaskScheduler::Run([] { return std::this_thread::get_id(); }, TaskPlacement::Pool).get(), own);
        left = TaskScheduler::Run([] { return std::this_thread::get_id(); });
    }
    EXPECT_TRUE(left.WaitFor(60000));
    EXPECT_NE(left.get(), own);
}

// The pool serves destructors of static objects: this one is made before the pool and goes after.
struct LateUser
{
    ~LateUser()
    {
        if (TaskScheduler::Run([] { return 7; }, TaskPlacement::Pool).get() != 7)
        {
            std::terminate();
        }
    }
} lateUser;

} // namespace

} // namespace Quoll::Tests
