#include "Quoll/ThreadPool.h"

#include "Quoll/Errors.h"

#include "concurrency/ThreadList.h"

#include "support/Eventually.h"
#include "support/ForcedFailure.h"
#include "support/Gate.h"
#include "support/MessageOf.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

namespace Quoll::Utilities
{

using namespace Quoll::Tests;

namespace
{

using Futures = std::vector<std::future<int>>;

// A task may wait for a further setting of the event, so that is given until the task has ended.
bool Driven(IThreadPool& pool, std::future<int>& future)
{
    return Eventually([&] {
        pool.Start();
        return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
}

// Waits for the task to end, or for its promise to be broken, which is false.
bool Ran(std::future<int>& future)
{
    EXPECT_EQ(future.wait_for(GenerousLimit), std::future_status::ready);
    try
    {
        return future.get() == 0;
    }
    catch (const std::future_error& error)
    {
        EXPECT_EQ(error.code(), std::future_errc::broken_promise);
        return false;
    }
}

// Keeps one worker in a task until it is released, or goes.
class Blocker
{
public:
    explicit Blocker(IThreadPool& pool)
        : m_end(pool.ScheduleTask([this] {
            m_begun.Arrive();
            m_release.Wait();
        }))
    {
        EXPECT_TRUE(Eventually([&] {
            pool.Start();
            return m_begun.IsOpen();
        }));
    }
    ~Blocker()
    {
        Release();
    }
    void Release()
    {
        m_release.Arrive();
        m_end.wait();
    }

private:
    Gate m_begun;
    Gate m_release;
    std::future<int> m_end;
};

TEST(ThreadPoolTest, RefusesTasksUnlessStarted)
{
    ThreadPool pool(1);
    const auto refused = [&pool] {
        return MessageOf<std::runtime_error>([&] { pool.ScheduleTask([] {}); }) ==
               "Thread pool cannot accept new tasks";
    };
    EXPECT_TRUE(refused());
    pool.Start();
    auto done = pool.ScheduleTask([] {});
    EXPECT_TRUE(Driven(pool, done));
    pool.WaitAndStop();
    EXPECT_TRUE(refused());
    EXPECT_FALSE(pool.HasWaitingThreads());
    pool.Start();
    pool.Stop();
    EXPECT_TRUE(refused());
}

TEST(ThreadPoolTest, FailuresGoToTheFutureAndTheWorkerLives)
{
    ThreadPool pool(1);
    pool.Start();
    auto thrown = pool.ScheduleTask([] { throw std::out_of_range("here"); });
    auto foreign = pool.ScheduleTask([] { throw 7; });
    auto empty = pool.ScheduleTask({});
    auto after = pool.ScheduleTask([] {});
    ASSERT_TRUE(Driven(pool, after));
    EXPECT_THROW(thrown.get(), std::out_of_range);
    EXPECT_THROW(foreign.get(), int);
    EXPECT_THROW(empty.get(), std::bad_function_call);
    EXPECT_EQ(after.get(), 0);
    EXPECT_TRUE(Eventually([&] { return pool.HasWaitingThreads(); }));
}

TEST(ThreadPoolTest, OneSettingOfTheEventLetsAWorkerTakeOneTask)
{
    ThreadPool pool(1);
    pool.Start();
    Blocker blocker(pool);
    EXPECT_FALSE(pool.HasWaitingThreads());
    auto first = pool.ScheduleTask([] {});
    auto second = pool.ScheduleTask([] {});
    blocker.Release();
    EXPECT_TRUE(Ran(first));
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(3 * ThreadPool::MAXIMUM_LOOP_WAIT_INTERVAL)),
              std::future_status::timeout);
    pool.Start();
    EXPECT_TRUE(Ran(second));
}

TEST(ThreadPoolTest, StartsTasksInTheOrderOfSchedulingWhoeverScheduledThem)
{
    constexpr unsigned rounds = 2000;
    constexpr unsigned producers = 3;
    ThreadPool pool(1);
    pool.Start();
    Blocker blocker(pool);
    std::vector<unsigned> order;
    std::atomic<unsigned> turn = 0;
    OnThreads(producers, [&](unsigned own) {
        for (unsigned number = own; number < rounds; number += producers)
        {
            while (turn != number)
            {
                std::this_thread::yield();
            }
            pool.ScheduleTask([&order, number] { order.push_back(number); });
            ++turn;
        }
    });
    auto last = pool.ScheduleTask([] {});
    blocker.Release();
    while (last.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
    {
        pool.Start();
    }
    ASSERT_EQ(order.size(), std::size_t{rounds});
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(ThreadPoolTest, PausedItAcceptsTasksAndBeginsNone)
{
    ThreadPool pool(1);
    pool.Start();
    Blocker blocker(pool);
    pool.Pause();
    auto task = pool.ScheduleTask([] {});
    blocker.Release();
    EXPECT_EQ(task.wait_for(std::chrono::milliseconds(30)), std::future_status::timeout);
    pool.Start();
    EXPECT_TRUE(Ran(task));
}

TEST(ThreadPoolTest, StopThrowsQueuedTasksAwayAndResizeBringsWorkersBack)
{
    ThreadPool pool(0);
    pool.Start();
    auto queued = pool.ScheduleTask([] {});
    pool.Stop();
    EXPECT_FALSE(Ran(queued));
    pool.Start();
    auto kept = pool.ScheduleTask([] {});
    pool.Resize(1);
    EXPECT_TRUE(Ran(kept));
}

TEST(ThreadPoolTest, DestructionWaitsItsRoundsAndBreaksPromises)
{
    std::future<int> left;
    const auto begin = std::chrono::steady_clock::now();
    {
        ThreadPool pool(1);
        pool.Start();
        pool.Resize(0);
        left = pool.ScheduleTask([] {});
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_FALSE(Ran(left));
}

TEST(ThreadPoolTest, WaitAndStopRunsWhatIsQueued)
{
    ThreadPool pool(2);
    pool.Start();
    Futures futures;
    {
        const Blocker first(pool);
        const Blocker second(pool);
        futures.push_back(pool.ScheduleTask([] {}));
        futures.push_back(pool.ScheduleTask([] {}));
    }
    pool.WaitAndStop();
    for (auto& future : futures)
    {
        EXPECT_TRUE(Ran(future));
    }
}

// Numbers threads, because the system uses its own numbers again.
unsigned SerialOfThread()
{
    static std::atomic<unsigned> last = 0;
    thread_local const unsigned serial = ++last;
    return serial;
}

std::set<unsigned> Workers(IThreadPool& pool, unsigned count)
{
    Gate all(count);
    std::mutex lock;
    std::set<unsigned> serials;
    Futures futures;
    for (unsigned i = 0; i < count; ++i)
    {
        futures.push_back(pool.ScheduleTask([&] {
            all.Arrive();
            all.Wait();
            const std::lock_guard guard(lock);
            serials.insert(SerialOfThread());
        }));
    }
    for (auto& future : futures)
    {
        EXPECT_TRUE(Driven(pool, future));
    }
    return serials;
}

TEST(ThreadPoolTest, GrowingKeepsWorkersAndAnyOtherResizeReplacesThem)
{
    ThreadPool pool(2);
    pool.Start();
    const auto two = Workers(pool, 2);
    pool.Resize(3);
    auto three = Workers(pool, 3);
    EXPECT_EQ(three.size(), 3u);
    EXPECT_TRUE(std::includes(three.begin(), three.end(), two.begin(), two.end()));
    pool.Resize(3);
    const auto others = Workers(pool, 3);
    EXPECT_EQ(others.size(), 3u);
    three.insert(others.begin(), others.end());
    EXPECT_EQ(three.size(), 6u);
    pool.Resize(1);
    three.merge(Workers(pool, 1));
    EXPECT_EQ(three.size(), 7u);
}

TEST(ThreadPoolTest, NoFutureIsForgottenWhenStopComesBesideScheduling)
{
    for (int round = 0; round < 20; ++round)
    {
        constexpr std::size_t producers = 8;
        std::vector<Futures> futures(producers);
        std::atomic<int> ran = 0;
        {
            ThreadPool pool(2);
            pool.Start();
            std::vector<std::jthread> threads;
            Gate first(producers);
            for (Futures& own : futures)
            {
                threads.emplace_back([&pool, &own, &ran, &first] {
                    EXPECT_THROW(
                        for (;;) {
                            own.push_back(pool.ScheduleTask([&ran] { ++ran; }));
                            if (own.size() == 1)
                            {
                                first.Arrive();
                            }
                        },
                        std::runtime_error);
                });
            }
            first.Wait();
            pool.Stop();
            threads.clear();
            pool.Stop();
        }
        int values = 0;
        for (Futures& own : futures)
        {
            for (auto& future : own)
            {
                values += Ran(future) ? 1 : 0;
            }
        }
        EXPECT_EQ(values, ran);
    }
}

TEST(ThreadPoolTest, ATaskMayScheduleButNotStopOrShrink)
{
    ThreadPool pool(2);
    pool.Start();
    std::future<int> inner;
    auto outer = pool.ScheduleTask([&] { inner = pool.ScheduleTask([] {}); });
    ASSERT_TRUE(Ran(outer));
    ASSERT_TRUE(Driven(pool, inner));
    const std::system_error deadlock(std::make_error_code(std::errc::resource_deadlock_would_occur));
    const std::function<void()> stops[] = {[&] { pool.Stop(); }, [&] { pool.WaitAndStop(); },
                                           [&] {
                                               pool.Resize(1);
                                           }};
    for (const auto& stop : stops)
    {
        auto stopping = pool.ScheduleTask(stop);
        EXPECT_EQ(MessageOf<std::system_error>([&] { stopping.get(); }), deadlock.what());
        pool.Start();
        pool.Resize(2);
    }
}

TEST(ThreadPoolTest, ATaskMayDestroyThePool)
{
    auto pool = std::make_shared<ThreadPool>(3);
    pool->Start();
    Gate mine;
    auto task = pool->ScheduleTask([&mine, own = pool]() mutable {
        mine.Wait();
        own.reset();
    });
    pool.reset();
    mine.Arrive();
    EXPECT_TRUE(Ran(task));
}

TEST(ThreadPoolTest, WithoutAnEventThereIsNoPool)
{
    const ForcedFailure failure(ForcedCall::CreateEventW, ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_THROW(ThreadPool(1), Win32Exception);
}

TEST(ThreadPoolTest, ADerivedClassMayWrapTheWorkers)
{
    class Wrapping final : public ThreadPool
    {
    public:
        Wrapping()
            : ThreadPool(0)
        {
            Resize(3);
        }
        ~Wrapping() override
        {
            Stop();
        }
        void WorkerThread() override
        {
            ++wrapped;
            ThreadPool::WorkerThread();
        }
        using ThreadPool::RemoveThreads;
        std::atomic<int> wrapped = 0;
    };
    Wrapping pool;
    pool.RemoveThreads(2);
    pool.RemoveThreads(7);
    pool.Stop();
    EXPECT_EQ(pool.wrapped, 4);
}

TEST(ThreadListTest, KeepsTheThreadsThatThereAreWhenOneCannotBeMade)
{
    struct Body
    {
        Body() = default;
        Body(Body&&) = default;
        Body(const Body&)
        {
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
        }
        void operator()() const
        {
        }
    };
    ThreadList threads;
    threads.Add([] {});
    EXPECT_THROW(threads.Add(Body()), std::system_error);
    EXPECT_EQ(threads.Size(), 1u);
    threads.JoinAndClear();
    EXPECT_EQ(threads.Size(), 0u);
}

} // namespace

} // namespace Quoll::Utilities
