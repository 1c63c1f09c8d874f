// Thread pools beside Boost.Asio's and a deque under a mutex.
#include "Quoll/SystemThreadPool.h"
#include "Quoll/ThreadPool.h"
#include "Ratios.h"

#include <benchmark/benchmark.h>
#include <boost/asio/packaged_task.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <latch>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <sched.h>

namespace
{

using Clock = std::chrono::steady_clock;

/// One worker, a deque of packaged tasks, one mutex.
class PlainPool
{
public:
    ~PlainPool()
    {
        {
            const std::lock_guard guard(m_lock);
            m_stop = true;
        }
        m_changed.notify_one();
        m_worker.join();
    }
    std::future<int> Schedule(std::function<void()> task)
    {
        std::packaged_task<int()> packaged([task = std::move(task)] {
            task();
            return 0;
        });
        auto future = packaged.get_future();
        {
            const std::lock_guard guard(m_lock);
            m_tasks.push_back(std::move(packaged));
        }
        m_changed.notify_one();
        return future;
    }

private:
    void Work()
    {
        std::unique_lock guard(m_lock);
        for (;;)
        {
            m_changed.wait(guard, [this] { return m_stop || !m_tasks.empty(); });
            if (m_tasks.empty())
            {
                return;
            }
            auto task = std::move(m_tasks.front());
            m_tasks.pop_front();
            guard.unlock();
            task();
            guard.lock();
        }
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<std::packaged_task<int()>> m_tasks;
    bool m_stop = false;
    std::thread m_worker{[this] {
        Work();
    }};
};

class AsioPool
{
public:
    ~AsioPool()
    {
        m_pool.join();
    }
    std::future<int> Schedule(std::function<void()> task)
    {
        return boost::asio::post(m_pool, std::packaged_task<int()>([task = std::move(task)] {
                                     task();
                                     return 0;
                                 }));
    }

private:
    boost::asio::thread_pool m_pool{1};
};

class QuollPool
{
public:
    QuollPool()
    {
        m_pool.Start();
    }
    ~QuollPool()
    {
        m_pool.Stop();
    }
    std::future<int> Schedule(std::function<void()> task)
    {
        return m_pool.ScheduleTask(std::move(task));
    }

private:
    Quoll::Utilities::ThreadPool m_pool{1};
};

double SecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// The worker is busy meanwhile, so that calls alone are measured, without a wake-up or a second thread.
template<class Pool>
void ScheduleOnly(benchmark::State& state)
{
    constexpr std::size_t calls = 2000;
    std::vector<std::future<int>> futures;
    futures.reserve(calls);
    int ran = 0;
    for (auto _ : state)
    {
        {
            Pool pool;
            std::latch begun(1);
            std::latch release(1);
            const auto blocked = pool.Schedule([&] {
                begun.count_down();
                release.wait();
            });
            begun.wait();
            const auto begin = Clock::now();
            for (std::size_t i = 0; i < calls; ++i)
            {
                futures.push_back(pool.Schedule([&ran] { ++ran; }));
            }
            state.SetIterationTime(SecondsSince(begin) / calls);
            release.count_down();
        }
        futures.clear();
    }
    benchmark::DoNotOptimize(ran);
}

void PinTo(int cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    sched_setaffinity(0, sizeof set, &set);
}

// From the call to the value, with a worker that sleeps.
template<class Pool>
void OneTask(benchmark::State& state, int workersCpu)
{
    cpu_set_t before;
    sched_getaffinity(0, sizeof before, &before);
    PinTo(0);
    {
        Pool pool;
        pool.Schedule([workersCpu] { PinTo(workersCpu); }).get();
        int ran = 0;
        for (auto _ : state)
        {
            for (const auto begin = Clock::now(); SecondsSince(begin) < 50e-6;)
            {
                std::this_thread::yield();
            }
            const auto begin = Clock::now();
            pool.Schedule([&ran] { ++ran; }).get();
            state.SetIterationTime(SecondsSince(begin));
        }
        benchmark::DoNotOptimize(ran);
    }
    sched_setaffinity(0, sizeof before, &before);
}

constexpr int crowd = 1'000'000;

// A million empty tasks from one thread, until the last has ended.
void CrowdOfQuoll(benchmark::State& state)
{
    Quoll::Utilities::SystemThreadPool pool;
    for (auto _ : state)
    {
        for (int i = 0; i < crowd; ++i)
        {
            pool.Submit([] {});
        }
        pool.Wait();
    }
}

void CrowdOfAsio(benchmark::State& state)
{
    for (auto _ : state)
    {
        boost::asio::thread_pool pool(std::thread::hardware_concurrency());
        for (int i = 0; i < crowd; ++i)
        {
            boost::asio::post(pool, [] {});
        }
        pool.join();
    }
}

// The waiting thread is one of the threads that run the tasks.
void CrowdOfTaskGroup(benchmark::State& state)
{
    tbb::task_group group;
    for (auto _ : state)
    {
        for (int i = 0; i < crowd; ++i)
        {
            group.run([] {});
        }
        group.wait();
    }
}

void CrowdOfTaskArena(benchmark::State& state)
{
    tbb::task_arena arena(static_cast<int>(std::thread::hardware_concurrency()));
    tbb::task_group group;
    for (auto _ : state)
    {
        for (int i = 0; i < crowd; ++i)
        {
            arena.enqueue(group.defer([] {}));
        }
        arena.execute([&group] { group.wait(); });
    }
}

template<class Pool>
void Register(const std::string& who)
{
    benchmark::RegisterBenchmark(("schedule/" + who).c_str(), ScheduleOnly<Pool>)->UseManualTime()->Iterations(200);
    for (const int cpu : {0, 1})
    {
        const std::string what = cpu == 0 ? "one task on one processor/" : "one task on two processors/";
        benchmark::RegisterBenchmark((what + who).c_str(), OneTask<Pool>, cpu)->UseManualTime()->Iterations(3000);
    }
}

} // namespace

int main(int argc, char** argv)
{
    Register<QuollPool>("quoll");
    Register<AsioPool>("asio");
    Register<PlainPool>("deque");
    benchmark::RegisterBenchmark("a million empty tasks/quoll", CrowdOfQuoll)->UseRealTime();
    benchmark::RegisterBenchmark("a million empty tasks/asio", CrowdOfAsio)->UseRealTime();
    benchmark::RegisterBenchmark("a million empty tasks/tbb task_group", CrowdOfTaskGroup)->UseRealTime();
    benchmark::RegisterBenchmark("a million empty tasks/tbb task_arena", CrowdOfTaskArena)->UseRealTime();
    return Quoll::Benchmarks::RunAndCompare(argc, argv);
}
