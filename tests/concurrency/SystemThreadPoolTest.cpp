#include "Quoll/SystemThreadPool.h"

#include "support/Eventually.h"
#include "support/Threads.h"
#include "support/Wine.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

namespace Quoll::Utilities
{

using namespace Quoll::Tests;

namespace
{

TEST(SystemThreadPoolTest, RunsFunctionsOfAnySizeOnOtherThreads)
{
    SystemThreadPool pool;
    std::atomic<long> sum = 0;
    std::array<long, 100> large{};
    std::iota(large.begin(), large.end(), 1);
    auto owned = std::make_unique<long>(1000);
    std::atomic<bool> own = false;
    pool.Submit([&sum] { sum += 1; });
    pool.Submit([&sum, large] { sum += std::accumulate(large.begin(), large.end(), 0L); });
    pool.Submit([&sum, owned = std::move(owned)] { sum += *owned; });
    pool.Submit([&own, main = std::this_thread::get_id()] { own = std::this_thread::get_id() == main; });
    pool.Wait();
    EXPECT_EQ(sum, 1 + 5050 + 1000);
    EXPECT_FALSE(own);
}

TEST(SystemThreadPoolTest, DeliversResultsAndExceptions)
{
    SystemThreadPool pool;
    auto answer = pool.Run([] { return std::make_unique<int>(42); });
    auto failing = pool.Run([]() -> int { throw std::out_of_range("here"); });
    EXPECT_EQ(*answer.get(), 42);
    EXPECT_THROW(failing.get(), std::out_of_range);
    EXPECT_NO_THROW(pool.Wait()) << "that exception has had its taker";
}

TEST(SystemThreadPoolTest, KeepsTheFirstExceptionForTheNextWait)
{
    SystemThreadPool pool;
    pool.Submit([] { throw std::out_of_range("here"); });
    EXPECT_THROW(pool.Wait(), std::out_of_range);
    pool.Submit(std::function<void()>());
    EXPECT_THROW(pool.Wait(), std::bad_function_call);
    EXPECT_NO_THROW(pool.Wait());
    pool.Submit([] { throw 7; }); // goes with the pool
}

TEST(SystemThreadPoolTest, RunsAllOfManyFromManyThreads)
{
    constexpr unsigned producers = 4;
    constexpr unsigned calls = 20000;
    std::vector<std::atomic<int>> runs(producers * calls);
    {
        SystemThreadPool pool;
        OnThreads(producers, [&](unsigned producer) {
            for (unsigned i = 0; i < calls; ++i)
            {
                pool.Submit([&run = runs[producer * calls + i]] { ++run; });
            }
        });
    }
    for (const auto& run : runs)
    {
        ASSERT_EQ(run, 1);
    }
}

TEST(SystemThreadPoolTest, WaitIncludesWhatFunctionsSubmit)
{
    SystemThreadPool pool;
    std::atomic<int> leaves = 0;
    std::function<void(int)> grow = [&](int depth) {
        if (depth == 0)
        {
            ++leaves;
            return;
        }
        pool.Submit([&grow, depth] { grow(depth - 1); });
        pool.Submit([&grow, depth] { grow(depth - 1); });
    };
    grow(10);
    pool.Wait();
    EXPECT_EQ(leaves, 1024);
}

TEST(SystemThreadPoolTest, CancelDropsWhatHasNotBegun)
{
    constexpr std::size_t calls = 2000; // more than there may be threads
    SystemThreadPool pool;
    std::mutex gate;
    std::unique_lock closed(gate);
    std::atomic<std::size_t> begun = 0;
    std::vector<std::future<void>> futures;
    for (std::size_t i = 0; i < calls; ++i)
    {
        futures.push_back(pool.Run([&] {
            ++begun;
            const std::lock_guard guard(gate);
        }));
    }
    ASSERT_TRUE(Eventually([&] { return begun > 0; }));
    std::size_t dropped = 0;
    std::thread canceller([&] { dropped = pool.Cancel(); });
    EXPECT_EQ(futures.back().wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    closed.unlock();
    canceller.join();
    EXPECT_EQ(begun + dropped, calls);
    std::size_t broken = 0;
    for (auto& future : futures)
    {
        ASSERT_EQ(future.wait_for(std::chrono::seconds(0)), std::future_status::ready);
        try
        {
            future.get();
        }
        catch (const std::future_error& error)
        {
            broken += error.code() == std::future_errc::broken_promise ? 1 : 0;
        }
    }
    EXPECT_EQ(broken, dropped);
    EXPECT_EQ(pool.Run([] { return 3; }).get(), 3);
}

TEST(SystemThreadPoolTest, NothingIsLostWhenCancelComesBesideSubmission)
{
    SystemThreadPool pool;
    std::atomic<std::size_t> ran = 0;
    std::size_t dropped = 0;
    constexpr std::size_t calls = 20000;
    std::atomic<int> producing = 2;
    std::vector<std::jthread> producers;
    for (int i = 0; i < 2; ++i)
    {
        producers.emplace_back([&] {
            for (std::size_t call = 0; call < calls; ++call)
            {
                pool.Submit([&ran] { ++ran; });
            }
            --producing;
        });
    }
    while (producing > 0)
    {
        dropped += pool.Cancel();
    }
    producers.clear();
    pool.Wait();
    EXPECT_EQ(ran + dropped, 2 * calls);
}

TEST(SystemThreadPoolTest, BlockedFunctionsHoldUpNobody)
{
    if (IsWine())
    {
        GTEST_SKIP() << "Wine adds threads only when something is submitted";
    }
    SystemThreadPool pool;
    SystemThreadPool other;
    constexpr int calls = 20;
    std::atomic<int> arrived = 0;
    for (int i = 0; i < calls; ++i)
    {
        pool.Submit([&arrived] {
            ++arrived;
            EXPECT_TRUE(Eventually([&] { return arrived == calls; }));
        });
    }
    EXPECT_EQ(other.Run([] { return 5; }).get(), 5);
    pool.Wait();
    EXPECT_EQ(arrived, calls);
}

TEST(SystemThreadPoolTest, AFunctionMayNotWaitForItsOwnPoolButMayDestroyIt)
{
    auto pool = std::make_unique<SystemThreadPool>();
    const auto waiting = [&pool] {
        EXPECT_THROW(pool->Cancel(), std::system_error);
        pool->Wait();
    };
    EXPECT_THROW(pool->Run(waiting).get(), std::system_error);
    std::atomic<int> ran = 0;
    std::promise<void> gone;
    auto* const raw = pool.get();
    raw->Submit([&gone, &ran, own = std::move(pool)]() mutable {
        for (int i = 0; i < 10; ++i)
        {
            own->Submit([&ran] { ++ran; });
        }
        own.reset();
        gone.set_value();
        throw std::out_of_range("nobody is left to keep it");
    });
    gone.get_future().wait();
    EXPECT_EQ(ran, 10);
}

} // namespace

} // namespace Quoll::Utilities
