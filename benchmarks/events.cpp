// Events beside the standard library's condition variable.
#include "Quoll/Synchronization.h"
#include "Ratios.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include <sched.h>

namespace
{

using Quoll::Utilities::EventAccessControl;
using Quoll::Utilities::SharedHandle;

/// The condition variable's like of an auto-reset event.
class StandardEvent
{
public:
    void Set()
    {
        {
            const std::lock_guard guard(m_lock);
            m_set = true;
        }
        m_changed.notify_one();
    }
    void Wait()
    {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [this] { return m_set; });
        m_set = false;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_set = false;
};

class QuollEvent
{
public:
    void Set()
    {
        EventAccessControl::SetEvent(m_event);
    }
    void Wait()
    {
        EventAccessControl::WaitOnEvent(m_event);
    }

private:
    SharedHandle m_event = EventAccessControl::CreateLocalEvent(false, false);
};

template<class Event>
void SetAlone(benchmark::State& state)
{
    Event event;
    for (auto _ : state)
    {
        event.Set();
    }
}

template<class Event>
void SetAndTake(benchmark::State& state)
{
    Event event;
    for (auto _ : state)
    {
        event.Set();
        event.Wait();
    }
}

void PinTo(int cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    sched_setaffinity(0, sizeof set, &set);
}

// There and back between two threads, on one processor or on two.
template<class Event>
void RoundTrip(benchmark::State& state, int otherCpu)
{
    cpu_set_t before;
    sched_getaffinity(0, sizeof before, &before);
    PinTo(0);
    Event there;
    Event back;
    bool stop = false;
    std::thread other([&] {
        PinTo(otherCpu);
        for (there.Wait(); !stop; there.Wait())
        {
            back.Set();
        }
    });
    for (auto _ : state)
    {
        there.Set();
        back.Wait();
    }
    stop = true;
    there.Set();
    other.join();
    sched_setaffinity(0, sizeof before, &before);
}

BENCHMARK(SetAlone<QuollEvent>)->Name("set without waiter/quoll");
BENCHMARK(SetAlone<StandardEvent>)->Name("set without waiter/std");
BENCHMARK(SetAndTake<QuollEvent>)->Name("set and take/quoll");
BENCHMARK(SetAndTake<StandardEvent>)->Name("set and take/std");
} // namespace

int main(int argc, char** argv)
{
    for (const int other : {0, 1})
    {
        const std::string name = other == 0 ? "wake-up on one processor/" : "wake-up on two processors/";
        benchmark::RegisterBenchmark((name + "quoll").c_str(), RoundTrip<QuollEvent>, other)->UseRealTime();
        benchmark::RegisterBenchmark((name + "std").c_str(), RoundTrip<StandardEvent>, other)->UseRealTime();
    }
    return Quoll::Benchmarks::RunAndCompare(argc, argv);
}
