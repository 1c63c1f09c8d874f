#include "Quoll/Synchronization.h"

#include "concurrency/WaitResult.h"

#include "support/Eventually.h"
#include "support/ForcedFailure.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace Quoll::Utilities
{

using namespace Quoll::Tests;
using EventWaitResult = EventAccessControl::EventWaitResult;

namespace
{

SharedHandle NewEvent(bool manualReset, bool initialState)
{
    return EventAccessControl::CreateLocalEvent(manualReset, initialState);
}

// A mutex whose owner has ended without giving it back.
SharedHandle AbandonedMutex()
{
    SharedHandle mutex = MultiProcessMutex::CreateLocalMutex(false);
    std::thread([&] { EXPECT_TRUE(MultiProcessMutex::WaitOnMutex(mutex)); }).join();
    return mutex;
}

TEST(MultiProcessMutexTest, BelongsToOneThread)
{
    const SharedHandle mutex = MultiProcessMutex::CreateLocalMutex(true);
    ASSERT_TRUE(mutex.IsValid());
    std::thread([&] {
        EXPECT_FALSE(MultiProcessMutex::WaitOnMutex(mutex, 0));
        EXPECT_FALSE(MultiProcessMutex::ReleaseMutex(mutex));
    }).join();
    EXPECT_TRUE(MultiProcessMutex::WaitOnMutex(mutex));
    EXPECT_TRUE(MultiProcessMutex::ReleaseMutex(mutex));
    EXPECT_TRUE(MultiProcessMutex::ReleaseMutex(mutex));
    EXPECT_FALSE(MultiProcessMutex::ReleaseMutex(mutex));
    std::thread([&] { EXPECT_TRUE(MultiProcessMutex::WaitOnMutex(mutex, 0)); }).join();
}

TEST(MultiProcessMutexTest, AnAbandonedMutexIsOwnedByTheNextWaiter)
{
    EXPECT_TRUE(MultiProcessMutex::WaitOnMutex(AbandonedMutex(), 0));
    EXPECT_EQ(EventAccessControl::Wait(AbandonedMutex(), 0), EventWaitResult::Failed);
    EXPECT_FALSE(EventAccessControl::WaitOnEvent(AbandonedMutex(), 0));
    EXPECT_EQ(ToWaitResult(WaitForObjects::WaitForSingleObject(AbandonedMutex(), 0)), EWaitResult::Abandoned);
}

TEST(MultiProcessMutexTest, EmptyHandles)
{
    SetLastError(ERROR_SUCCESS);
    EXPECT_TRUE(MultiProcessMutex::ReleaseMutex(SharedHandle()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(MultiProcessMutex::WaitOnMutex(SharedHandle()));
}

TEST(SynchronizationTest, ARefusedObjectIsAnEmptyHandle)
{
    const ForcedFailure noMutex(ForcedCall::CreateMutexW, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_FALSE(MultiProcessMutex::CreateLocalMutex(true).IsValid());
    const ForcedFailure noEvent(ForcedCall::CreateEventW, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_FALSE(NewEvent(true, false).IsValid());
}

TEST(EventAccessControlTest, ResetManuallyOrByAWait)
{
    const SharedHandle manual = NewEvent(true, true);
    EXPECT_TRUE(EventAccessControl::WaitOnEvent(manual));
    EXPECT_EQ(EventAccessControl::Wait(manual, 0), EventWaitResult::Signaled);
    EXPECT_TRUE(EventAccessControl::ResetEvent(manual));
    EXPECT_EQ(EventAccessControl::Wait(manual, 0), EventWaitResult::TimedOut);

    const SharedHandle automatic = NewEvent(false, false);
    EXPECT_FALSE(EventAccessControl::WaitOnEvent(automatic, 0));
    EXPECT_TRUE(EventAccessControl::SetEvent(automatic) && EventAccessControl::SetEvent(automatic));
    EXPECT_TRUE(EventAccessControl::WaitOnEvent(automatic, 0));
    EXPECT_FALSE(EventAccessControl::WaitOnEvent(automatic, 0));
}

TEST(EventAccessControlTest, APulseLeavesTheEventReset)
{
    const SharedHandle event = NewEvent(true, false);
    std::thread waiter([&] { EXPECT_TRUE(EventAccessControl::WaitOnEvent(event)); });
    std::jthread pulser([&](const std::stop_token& stop) {
        while (!stop.stop_requested())
        {
            EXPECT_TRUE(EventAccessControl::PulseEvent(event));
            std::this_thread::yield();
        }
    });
    waiter.join();
    pulser.request_stop();
    pulser.join();
    EXPECT_FALSE(EventAccessControl::WaitOnEvent(event, 0));
}

TEST(EventAccessControlTest, WhatIsNoEventFails)
{
    const SharedHandle none;
    EXPECT_FALSE(EventAccessControl::SetEvent(none));
    EXPECT_FALSE(EventAccessControl::ResetEvent(none));
    EXPECT_FALSE(EventAccessControl::PulseEvent(none));
    EXPECT_FALSE(EventAccessControl::WaitOnEvent(none));
    EXPECT_EQ(EventAccessControl::Wait(none, INFINITE), EventWaitResult::Failed);
}

TEST(WaitForObjectsTest, OneOrAllOfAList)
{
    const std::vector<SharedHandle> events = {NewEvent(true, false), NewEvent(true, true), NewEvent(false, true)};
    EXPECT_EQ(WaitForObjects::WaitForMultipleObjects(events, false, INFINITE), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitForObjects::WaitForMultipleObjects(events, true, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(EventAccessControl::SetEvent(events[0]));
    EXPECT_EQ(WaitForObjects::WaitForMultipleObjects(events, true, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_FALSE(EventAccessControl::WaitOnEvent(events[2], 0)) << "the wait has to take the auto-reset event";
}

TEST(WaitForObjectsTest, TheCountIsThePlatformsAffair)
{
    for (const std::size_t count : {std::size_t{0}, std::size_t{65}})
    {
        const std::vector<SharedHandle> events(count, NewEvent(true, true));
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(WaitForObjects::WaitForMultipleObjects(events, false, 0), DWORD{WAIT_FAILED});
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << count;
    }
    const std::vector<SharedHandle> most(64, NewEvent(true, true));
    EXPECT_EQ(WaitForObjects::WaitForMultipleObjects(most, false, 0), DWORD{WAIT_OBJECT_0});
}

TEST(WaitForObjectsTest, RawCodes)
{
    const SharedHandle event = NewEvent(false, true);
    EXPECT_EQ(WaitForObjects::WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForObjects::WaitForSingleObjectEx(event, 0, true), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForObjects::WaitForSingleObjectEx(SharedHandle(), 0, false), DWORD{WAIT_FAILED});
    EXPECT_EQ(ToWaitResult(WAIT_OBJECT_0), EWaitResult::Signaled);
    EXPECT_EQ(ToWaitResult(WAIT_TIMEOUT), EWaitResult::TimedOut);
    EXPECT_EQ(ToWaitResult(WAIT_FAILED), EWaitResult::Failed);
}

} // namespace

} // namespace Quoll::Utilities
