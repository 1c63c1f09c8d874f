// Timers beside Boost.Asio's steady timer and libevent.
//
// A period of a millisecond for ten seconds: how far behind its place on the grid each run begins. The middle one and
// the one at 99 of a hundred are times; what the last tenth has drifted from the first, and the places that were left
// out, are counters. Then: arming and cancelling one among ten thousand.
#include "Quoll/Timer.h"
#include "Ratios.h"

#include <benchmark/benchmark.h>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <event2/event.h>
#include <event2/thread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;
using Quoll::Utilities::Timer;

constexpr std::size_t Ticks = 10'000;
constexpr auto Period = std::chrono::milliseconds(1);
constexpr int OtherTimers = 10'000;

/// The moments at which a timer ran.
class Record
{
public:
    /// False once there are enough.
    bool Note()
    {
        const std::size_t place = m_count;
        if (place < Ticks)
        {
            m_moments[place] = Clock::now();
            m_count = place + 1;
        }
        return place + 1 < Ticks;
    }
    bool IsFull() const
    {
        return m_count == Ticks;
    }

    /// Seconds behind the grid, in the order of the runs. A run belongs to the place that it is next behind.
    std::vector<double> Lateness(Clock::time_point start) const
    {
        std::vector<double> late;
        for (const auto& moment : m_moments)
        {
            late.push_back(std::chrono::duration<double>((moment - start) % Period).count());
        }
        return late;
    }
    double LeftOut(Clock::time_point start) const
    {
        return static_cast<double>((m_moments.back() - start) / Period) - static_cast<double>(Ticks);
    }

private:
    std::vector<Clock::time_point> m_moments{Ticks};
    std::atomic<std::size_t> m_count{0};
};

Clock::time_point RunQuoll(Record& record)
{
    const Timer first(0, true, [] {}); // makes the queue and a thread
    // The grid begins within the start, so that the earliest moment makes the lateness too great, not too small.
    const auto start = Clock::now();
    const Timer timer(1, false, [&record] { record.Note(); });
    while (!record.IsFull())
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return start;
}

Clock::time_point RunAsio(Record& record)
{
    boost::asio::io_context context(1);
    boost::asio::steady_timer timer(context);
    const auto start = Clock::now();
    timer.expires_at(start + Period);
    std::function<void(const boost::system::error_code&)> tick = [&](const boost::system::error_code&) {
        if (record.Note())
        {
            timer.expires_at(timer.expiry() + Period);
            timer.async_wait(tick);
        }
    };
    timer.async_wait(tick);
    std::thread([&context] { context.run(); }).join();
    return start;
}

double Mean(std::vector<double>::const_iterator begin, std::vector<double>::const_iterator end)
{
    return std::accumulate(begin, end, 0.0) / static_cast<double>(end - begin);
}

// The time is that of the run of this rank, in hundredths, so that it is compared.
template<auto Run>
void Lateness(benchmark::State& state, std::size_t rank)
{
    for (auto _ : state)
    {
        Record record;
        const auto start = Run(record);
        auto late = record.Lateness(start);
        constexpr std::ptrdiff_t tenth = Ticks / 10;
        const double drift = Mean(late.end() - tenth, late.end()) - Mean(late.begin(), late.begin() + tenth);
        std::sort(late.begin(), late.end());
        state.counters["p999_us"] = late[Ticks * 999 / 1000] * 1e6;
        state.counters["drift_us"] = drift * 1e6;
        state.counters["left_out"] = record.LeftOut(start);
        state.SetIterationTime(late[Ticks * rank / 100]);
    }
}

int RandomHour(std::mt19937& random)
{
    return static_cast<int>(3'600'000 + random() % 3'600'000);
}

void ArmAndCancelQuoll(benchmark::State& state)
{
    std::mt19937 random(1);
    const auto others = std::make_unique<Timer[]>(OtherTimers);
    for (int i = 0; i < OtherTimers; ++i)
    {
        others[static_cast<std::size_t>(i)].Start(RandomHour(random), true, [] {});
    }
    Timer timer;
    const std::function<void()> action = [] {
    };
    for (auto _ : state)
    {
        timer.Start(RandomHour(random), true, action);
        timer.Stop();
    }
}

timeval TimeOf(int milliseconds)
{
    return {milliseconds / 1000, milliseconds % 1000 * 1000};
}

// By default its base is for one thread, and its clock is behind by up to a tick of the system's.
void ArmAndCancelLibevent(benchmark::State& state, bool exact)
{
    std::mt19937 random(1);
    event_config* const config = event_config_new();
    event_config_set_flag(config, exact ? EVENT_BASE_FLAG_PRECISE_TIMER : EVENT_BASE_FLAG_NOLOCK);
    event_base* const base = event_base_new_with_config(config);
    event_config_free(config);
    const auto nothing = [](evutil_socket_t, short, void*) {
    };
    std::vector<event*> others;
    const auto arm = [&](event* timer) {
        const timeval time = TimeOf(RandomHour(random));
        evtimer_add(timer, &time);
    };
    for (int i = 0; i < OtherTimers; ++i)
    {
        others.push_back(evtimer_new(base, nothing, nullptr));
        arm(others.back());
    }
    event* const timer = evtimer_new(base, nothing, nullptr);
    for (auto _ : state)
    {
        arm(timer);
        evtimer_del(timer);
    }
    event_free(timer);
    std::for_each(others.begin(), others.end(), event_free);
    event_base_free(base);
}

BENCHMARK(ArmAndCancelQuoll)->Name("arm and cancel one among 10,000/quoll");
BENCHMARK_CAPTURE(ArmAndCancelLibevent, exact, true)
    ->Name("arm and cancel one among 10,000/libevent for threads, exact clock");
BENCHMARK_CAPTURE(ArmAndCancelLibevent, coarse, false)
    ->Name("arm and cancel one among 10,000/libevent without locks, coarse clock");

} // namespace

int main(int argc, char** argv)
{
    evthread_use_pthreads();
    for (const std::size_t rank : {std::size_t{50}, std::size_t{99}})
    {
        const std::string what = "lateness of 1 ms, " + std::to_string(rank) + " %/";
        benchmark::RegisterBenchmark((what + "quoll").c_str(), Lateness<RunQuoll>, rank)
            ->Iterations(1)
            ->UseManualTime();
        benchmark::RegisterBenchmark((what + "asio").c_str(), Lateness<RunAsio>, rank)->Iterations(1)->UseManualTime();
    }
    return Quoll::Benchmarks::RunAndCompare(argc, argv);
}
