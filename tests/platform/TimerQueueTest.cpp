#include "support/CodeOf.h"
#include "support/OwnedHandle.h"
#include "support/Threads.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <thread>

namespace
{

using Quoll::Tests::CodeOf;

constexpr DWORD limit = 60000;
constexpr DWORD later = 3'600'000;
constexpr DWORD moment = 20; // for a thread to do what it must not

struct Event : Quoll::Tests::OwnedHandle
{
    explicit Event(bool manual = true)
        : OwnedHandle(CreateEventW(nullptr, manual, FALSE, nullptr))
    {
    }
    void Set() const
    {
        SetEvent(*this);
    }
    bool Wait(DWORD milliseconds = limit) const
    {
        return WaitForSingleObject(*this, milliseconds) == WAIT_OBJECT_0;
    }
};

/// What a callback of the tests gets: it counts, and blocks until it may go on.
struct Calls
{
    static void CALLBACK Count(void* context, BOOLEAN fired)
    {
        auto& calls = *static_cast<Calls*>(context);
        calls.fired = fired;
        ++calls.count;
        calls.called.Set();
    }
    static void CALLBACK Block(void* context, BOOLEAN fired)
    {
        auto& calls = *static_cast<Calls*>(context);
        Count(context, fired);
        EXPECT_TRUE(calls.go.Wait());
        ++calls.ended;
    }

    std::atomic<int> count{0};
    std::atomic<int> ended{0};
    std::atomic<int> fired{-1};
    Event called{false};
    Event go;
};

class TimerQueueContract : public testing::Test
{
protected:
    ~TimerQueueContract() override
    {
        EXPECT_TRUE(DeleteTimerQueueEx(m_queue, INVALID_HANDLE_VALUE)) << GetLastError();
    }

    HANDLE Start(WAITORTIMERCALLBACK callback, void* context, DWORD due, DWORD period = 0, ULONG flags = 0) const
    {
        HANDLE timer = nullptr;
        EXPECT_TRUE(CreateTimerQueueTimer(&timer, m_queue, callback, context, due, period, flags)) << GetLastError();
        return timer;
    }
    BOOL Delete(HANDLE timer, HANDLE completion = INVALID_HANDLE_VALUE) const
    {
        return DeleteTimerQueueTimer(m_queue, timer, completion);
    }

    HANDLE m_queue = CreateTimerQueue();
};

TEST_F(TimerQueueContract, FiresOnceWithoutAPeriod)
{
    for (const ULONG flags : {ULONG{WT_EXECUTEDEFAULT}, ULONG{WT_EXECUTEONLYONCE}, ULONG{WT_EXECUTELONGFUNCTION}})
    {
        Calls calls;
        const HANDLE timer = Start(Calls::Count, &calls, 0, 0, flags);
        EXPECT_TRUE(calls.called.Wait());
        EXPECT_FALSE(calls.called.Wait(moment));
        EXPECT_TRUE(Delete(timer));
        EXPECT_EQ(calls.fired, 1);
    }
}

TEST_F(TimerQueueContract, FiresEveryPeriodUntilItIsDeleted)
{
    Calls calls;
    Calls never;
    const HANDLE waiting = Start(Calls::Count, &never, INFINITE, 1);
    const HANDLE timer = Start(Calls::Count, &calls, 1, 1);
    for (int i = 0; i < 20; ++i)
    {
        EXPECT_TRUE(calls.called.Wait());
    }
    EXPECT_TRUE(Delete(timer));
    const int count = calls.count;
    EXPECT_FALSE(never.called.Wait(moment)) << "a due time of INFINITE never comes";
    EXPECT_EQ(calls.count, count);
    EXPECT_TRUE(Delete(waiting));
}

TEST_F(TimerQueueContract, SlowCallbacksOverlapAndHoldUpNoOtherTimer)
{
    Calls slow;
    Calls other;
    const HANDLE timer = Start(Calls::Block, &slow, 1, 5);
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_TRUE(slow.called.Wait());
    }
    const HANDLE behind = Start(Calls::Count, &other, 1);
    EXPECT_TRUE(other.called.Wait());
    slow.go.Set();
    EXPECT_TRUE(Delete(timer));
    EXPECT_EQ(slow.ended, slow.count);
    EXPECT_TRUE(Delete(behind));
}

TEST_F(TimerQueueContract, DeletionWaitsForACallbackThatRuns)
{
    for (const bool ofQueue : {false, true})
    {
        Calls calls;
        const HANDLE timer = Start(Calls::Block, &calls, 0);
        ASSERT_TRUE(calls.called.Wait());
        const Event deleted;
        std::thread deleting([&] {
            EXPECT_TRUE(ofQueue ? DeleteTimerQueueEx(m_queue, INVALID_HANDLE_VALUE) : Delete(timer));
            EXPECT_EQ(calls.ended, 1);
            deleted.Set();
        });
        EXPECT_FALSE(deleted.Wait(moment));
        calls.go.Set();
        deleting.join();
    }
    m_queue = CreateTimerQueue();
}

TEST_F(TimerQueueContract, DeletionDoesNotWaitWithAnEventOrWithout)
{
    Calls calls;
    for (const bool withEvent : {false, true})
    {
        HANDLE timer = Start(Calls::Block, &calls, 0);
        ASSERT_TRUE(calls.called.Wait());
        const Event ended;
        SetLastError(0);
        EXPECT_EQ(CodeOf(Delete(timer, withEvent ? HANDLE{ended} : nullptr)), DWORD{ERROR_IO_PENDING});
        EXPECT_FALSE(ended.Wait(0));
        calls.go.Set();
        EXPECT_EQ(ended.Wait(withEvent ? limit : moment), withEvent);
        timer = Start(Calls::Count, &calls, later);
        EXPECT_EQ(Delete(timer, withEvent ? HANDLE{ended} : INVALID_HANDLE_VALUE), TRUE);
        EXPECT_EQ(ended.Wait(0), withEvent) << "nothing runs, so the end is told at once";
        ResetEvent(calls.go);
    }
    calls.go.Set();
    const Event ended;
    Start(Calls::Count, &calls, later);
    static_cast<void>(DeleteTimerQueueEx(m_queue, ended)); // TRUE, or FALSE with ERROR_IO_PENDING
    EXPECT_TRUE(ended.Wait());
    m_queue = CreateTimerQueue();
}

struct Suicide
{
    static void CALLBACK Run(void* context, BOOLEAN)
    {
        auto& self = *static_cast<Suicide*>(context);
        EXPECT_TRUE(self.ready.Wait());
        SetLastError(0);
        EXPECT_EQ(CodeOf(DeleteTimerQueueTimer(self.queue, self.timer, self.completion)), DWORD{ERROR_IO_PENDING});
        self.done.Set();
    }

    HANDLE queue;
    HANDLE completion;
    HANDLE timer = nullptr;
    Event ready{true};
    Event done{true};
};

TEST_F(TimerQueueContract, ACallbackMayDeleteItsTimerWithoutWaiting)
{
    const Event ended;
    for (const HANDLE completion : {HANDLE{nullptr}, HANDLE{ended}})
    {
        Suicide suicide{m_queue, completion};
        suicide.timer = Start(Suicide::Run, &suicide, 0, 1);
        suicide.ready.Set();
        EXPECT_TRUE(suicide.done.Wait());
        // The queue waits for the callback, so that the context may go.
        EXPECT_TRUE(DeleteTimerQueueEx(m_queue, INVALID_HANDLE_VALUE));
        m_queue = CreateTimerQueue();
    }
    EXPECT_TRUE(ended.Wait());
}

TEST_F(TimerQueueContract, WhatIsNotThere)
{
    Calls calls;
    HANDLE timer = nullptr;
    EXPECT_TRUE(CreateTimerQueueTimer(&timer, nullptr, Calls::Count, &calls, 0, 0, 0)) << "the default queue";
    EXPECT_TRUE(calls.called.Wait());
    EXPECT_EQ(CodeOf(CloseHandle(timer)), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_TRUE(DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE));
    EXPECT_EQ(CodeOf(Delete(nullptr)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(CodeOf(DeleteTimerQueueEx(nullptr, INVALID_HANDLE_VALUE)), DWORD{ERROR_INVALID_HANDLE});
}

// Threads start timers and delete them about when they fire; what a callback uses is gone right after that.
TEST_F(TimerQueueContract, NoCallbackRunsAfterADeletionThatWaited)
{
    struct Context
    {
        std::atomic<int>& calls;
        int plain = 0; // races with the check below if a callback comes late
    };
    std::atomic<int> calls{0};
    Quoll::Tests::OnThreads(4, [&](unsigned thread) {
        for (unsigned round = 0; round < 1000 || (calls == 0 && round < 1'000'000); ++round)
        {
            std::array<std::unique_ptr<Context>, 3> contexts;
            std::array<HANDLE, 3> timers{};
            for (unsigned i = 0; i < contexts.size(); ++i)
            {
                contexts[i] = std::make_unique<Context>(Context{calls});
                timers[i] = Start(
                    [](void* context, BOOLEAN) {
                        ++static_cast<Context*>(context)->plain;
                        ++static_cast<Context*>(context)->calls;
                    },
                    contexts[i].get(), (thread + round + i) % 3);
            }
            for (unsigned i = 0; i < contexts.size(); ++i)
            {
                EXPECT_TRUE(Delete(timers[i]));
                EXPECT_LE(contexts[i]->plain, 1);
                contexts[i].reset();
            }
        }
    });
    EXPECT_GT(calls, 0);
}

} // namespace
