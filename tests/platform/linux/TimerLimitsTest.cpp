// What timer queues and helper threads cost, what they refuse where Windows would crash or wait for ever, and
// what a fork leaves of them.
#include "platform/linux/HelperThreads.h"
#include "platform/linux/TimerRecords.h"
#include "support/Eventually.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace Quoll::Tests
{

namespace
{

using Platform::HelperThreads;
using Platform::HelperWork;

constexpr DWORD later = 3'600'000;

std::ptrdiff_t CountOf(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

void Count(void* context, BOOLEAN)
{
    ++*static_cast<std::atomic<int>*>(context);
}

void DeleteQueue(HANDLE queue)
{
    EXPECT_TRUE(DeleteTimerQueueEx(queue, INVALID_HANDLE_VALUE));
}

TEST(TimerLimits, ThousandsOfTimersCostFewThreadsAndNoDescriptor)
{
    const HANDLE queue = CreateTimerQueue();
    std::atomic<int> calls{0};
    const auto threads = CountOf("/proc/self/task");
    const auto descriptors = CountOf("/proc/self/fd");
    HANDLE timer = nullptr;
    for (DWORD i = 0; i < 10'000; ++i)
    {
        ASSERT_TRUE(CreateTimerQueueTimer(&timer, queue, Count, &calls, later + i, 0, 0));
    }
    EXPECT_LE(CountOf("/proc/self/task"), threads + 1);
    for (int i = 0; i < 10'000; ++i)
    {
        ASSERT_TRUE(CreateTimerQueueTimer(&timer, queue, Count, &calls, 20, 0, 0));
    }
    EXPECT_TRUE(Eventually([&] { return calls == 10'000; }));
    EXPECT_LE(CountOf("/proc/self/task"), threads + 16) << "those that are due together don't make a crowd";
    EXPECT_EQ(CountOf("/proc/self/fd"), descriptors);
    DeleteQueue(queue);
}

// Random insertions and removals beside a sorted set.
TEST(TimerLimits, TheHeapGivesTheEarliestFirst)
{
    std::mt19937 random(7);
    Platform::TimerHeap heap;
    std::vector<Platform::QueueTimer> timers(500);
    ASSERT_TRUE(heap.Reserve(timers.size()));
    std::set<std::pair<std::int64_t, Platform::QueueTimer*>> sorted;
    for (int step = 0; step < 50'000; ++step)
    {
        Platform::QueueTimer& timer = timers[random() % timers.size()];
        if (timer.place == Platform::TimerHeap::nowhere)
        {
            timer.due = random() % 1000;
            heap.Insert(timer);
            sorted.emplace(timer.due, &timer);
        }
        else if (timer.place == 0)
        {
            sorted.erase({timer.due, &timer});
            timer.due += random() % 300;
            heap.FirstIsLater();
            sorted.emplace(timer.due, &timer);
        }
        else
        {
            heap.Remove(timer);
            sorted.erase({timer.due, &timer});
        }
        ASSERT_EQ(heap.IsEmpty(), sorted.empty());
        ASSERT_TRUE(sorted.empty() || heap.FirstDue() == sorted.begin()->first);
    }
}

TEST(TimerLimits, DeadHandlesAndWrongArguments)
{
    const HANDLE queue = CreateTimerQueue();
    HANDLE timer = nullptr;
    std::atomic<int> calls{0};
    const auto create = [&](HANDLE* place, HANDLE where, WAITORTIMERCALLBACK callback, DWORD period, ULONG flags) {
        SetLastError(0);
        return CreateTimerQueueTimer(place, where, callback, &calls, later, period, flags) ? 0 : GetLastError();
    };
    EXPECT_EQ(create(nullptr, queue, Count, 0, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(create(&timer, queue, nullptr, 0, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(create(&timer, queue, Count, 1, WT_EXECUTEONLYONCE), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(create(&timer, queue, Count, 0, 0x20), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(create(&timer, INVALID_HANDLE_VALUE, Count, 0, 0), ERROR_INVALID_HANDLE);
    EXPECT_EQ(create(&timer, queue, Count, 0, 0), 0u);
    EXPECT_EQ(create(&timer, timer, Count, 0, 0), ERROR_INVALID_HANDLE) << "a timer is no queue";

    const auto remove = [&](HANDLE what, HANDLE completion) {
        SetLastError(0);
        return DeleteTimerQueueTimer(queue, what, completion) ? 0 : GetLastError();
    };
    EXPECT_EQ(remove(queue, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(remove(timer, queue), ERROR_INVALID_HANDLE) << "a queue is no event";
    EXPECT_EQ(remove(timer, nullptr), 0u);
    EXPECT_EQ(remove(timer, INVALID_HANDLE_VALUE), ERROR_INVALID_HANDLE);
    EXPECT_EQ(create(&timer, queue, Count, 0, 0), 0u);
    DeleteQueue(queue);
    EXPECT_FALSE(DeleteTimerQueueEx(queue, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(DeleteTimerQueueTimer(nullptr, timer, nullptr)) << "it went with its queue";
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

struct Suicide
{
    HANDLE queue;
    HANDLE timer = nullptr;
    std::atomic<int> ready{0};
    std::atomic<int> done{0};
};

TEST(TimerLimits, ACallbackDoesNotWaitForItself)
{
    for (const bool ofQueue : {false, true})
    {
        Suicide suicide{CreateTimerQueue()};
        const auto run = [](void* context, BOOLEAN) {
            auto& self = *static_cast<Suicide*>(context);
            self.ready.wait(0);
            EXPECT_TRUE(DeleteTimerQueueTimer(self.queue, self.timer, INVALID_HANDLE_VALUE));
            self.done = 1;
        };
        const auto runForQueue = [](void* context, BOOLEAN) {
            auto& self = *static_cast<Suicide*>(context);
            DeleteQueue(self.queue);
            self.done = 1;
        };
        ASSERT_TRUE(CreateTimerQueueTimer(&suicide.timer, suicide.queue,
                                          ofQueue ? WAITORTIMERCALLBACK(runForQueue) : WAITORTIMERCALLBACK(run),
                                          &suicide, 0, 0, 0));
        suicide.ready = 1;
        suicide.ready.notify_all();
        EXPECT_TRUE(Eventually([&] { return suicide.done == 1; }));
        EXPECT_EQ(DeleteTimerQueueEx(suicide.queue, INVALID_HANDLE_VALUE), ofQueue ? FALSE : TRUE);
    }
}

struct Waiting : HelperWork
{
    std::atomic<int>* begun = nullptr;
    std::atomic<int>* release = nullptr;
};

TEST(HelperThreadLimits, WhatBlocksHoldsUpNoShortWork)
{
    std::atomic<int> begun{0};
    std::atomic<int> release{0};
    std::vector<Waiting> blocked(std::thread::hardware_concurrency() + 3);
    for (Waiting& work : blocked)
    {
        work.begun = &begun;
        work.release = &release;
        work.run = [](HelperWork& self) noexcept {
            std::atomic<int>& gate = *static_cast<Waiting&>(self).release;
            ++*static_cast<Waiting&>(self).begun;
            gate.wait(0);
            ++gate;
        };
        ASSERT_TRUE(HelperThreads::Submit(work, HelperThreads::Kind::Short));
    }
    EXPECT_TRUE(Eventually([&] { return begun == static_cast<int>(blocked.size()); }));
    release = 1;
    release.notify_all();
    EXPECT_TRUE(Eventually([&] { return release == static_cast<int>(blocked.size()) + 1; }));
}

TEST(HelperThreadLimits, ABurstOfShortWorkMakesNoCrowd)
{
    std::atomic<int> done{0};
    std::vector<Waiting> burst(20'000);
    const auto threads = CountOf("/proc/self/task");
    for (Waiting& work : burst)
    {
        work.begun = &done;
        work.run = [](HelperWork& self) noexcept {
            ++*static_cast<Waiting&>(self).begun;
        };
        ASSERT_TRUE(HelperThreads::Submit(work, HelperThreads::Kind::Short));
    }
    EXPECT_TRUE(Eventually([&] { return done == 20'000; }));
    EXPECT_LE(CountOf("/proc/self/task"), threads + 1 + static_cast<int>(std::thread::hardware_concurrency()));
}

TEST(HelperThreadLimits, TheChildOfAForkHasNone)
{
    const HANDLE queue = CreateTimerQueue();
    const pid_t child = fork();
    if (child == 0)
    {
        HANDLE timer = nullptr;
        HelperWork work;
        const bool none = !HelperThreads::Submit(work, HelperThreads::Kind::Long) && CreateTimerQueue() == nullptr &&
                          !CreateTimerQueueTimer(&timer, queue, Count, nullptr, 0, 0, 0) &&
                          !DeleteTimerQueueEx(queue, INVALID_HANDLE_VALUE) && GetLastError() == ERROR_INVALID_HANDLE;
        _exit(none ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    DeleteQueue(queue);
}

} // namespace

} // namespace Quoll::Tests
