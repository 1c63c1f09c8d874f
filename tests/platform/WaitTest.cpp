#include "support/OwnedHandle.h"
#include "support/Threads.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace
{

constexpr DWORD limit = 60000;

using Owned = Quoll::Tests::OwnedHandle;

HANDLE NewEvent(bool manual, bool set = false)
{
    return CreateEventW(nullptr, manual, set, nullptr);
}

TEST(EventContract, EverySignalReachesExactlyOneOfManyThreads)
{
    const Owned tokens(NewEvent(false));
    const Owned taken(NewEvent(false));
    const Owned stop(NewEvent(true));
    std::atomic<int> count{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back([&] {
            const std::array<HANDLE, 2> handles{stop, tokens};
            while (WaitForMultipleObjects(2, handles.data(), FALSE, limit) == WAIT_OBJECT_0 + 1)
            {
                ++count;
                SetEvent(taken);
            }
        });
    }
    for (int i = 0; i < 2000; ++i)
    {
        SetEvent(tokens);
        ASSERT_EQ(WaitForSingleObject(taken, limit), WAIT_OBJECT_0);
    }
    SetEvent(stop);
    threads.clear();
    EXPECT_EQ(count, 2000);
}

TEST(MutexContract, AnEndedOwnerAbandonsItOnce)
{
    const Owned mutex(CreateMutexW(nullptr, FALSE, nullptr));
    const Owned event(NewEvent(true));
    std::thread([&] { WaitForSingleObject(mutex, 0); }).join();
    const std::array<HANDLE, 2> handles{event, mutex};
    EXPECT_EQ(WaitForMultipleObjects(2, handles.data(), FALSE, limit), WAIT_ABANDONED_0 + 1);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_OWNER});
}

TEST(MutexContract, AbandonedWhileAnotherWaits)
{
    const Owned mutex(CreateMutexW(nullptr, FALSE, nullptr));
    const Owned owned(NewEvent(true));
    const Owned go(NewEvent(true));
    std::thread owner([&] {
        WaitForSingleObject(mutex, 0);
        SetEvent(owned);
        WaitForSingleObject(go, limit);
    });
    WaitForSingleObject(owned, limit);
    SetEvent(go);
    EXPECT_EQ(WaitForSingleObject(mutex, limit), WAIT_ABANDONED);
    ReleaseMutex(mutex);
    owner.join();
}

TEST(WaitContract, AllTakesAllOrNone)
{
    const Owned a(NewEvent(false, true));
    const Owned b(NewEvent(false));
    const std::array<HANDLE, 2> handles{a, b};
    EXPECT_EQ(WaitForMultipleObjects(2, handles.data(), TRUE, 10), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(a, 0), WAIT_OBJECT_0) << "a wait that failed took an event";

    std::thread waiter([&] { EXPECT_EQ(WaitForMultipleObjects(2, handles.data(), TRUE, limit), WAIT_OBJECT_0); });
    SetEvent(b);
    SetEvent(a);
    waiter.join();
    EXPECT_EQ(WaitForSingleObject(a, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(b, 0), DWORD{WAIT_TIMEOUT});
}

// Threads move a fixed number of tokens between events and mutexes in every kind of wait; at the
// end none is lost and none has been made.
TEST(WaitContract, TokensAreConservedUnderContention)
{
    constexpr int events = 3;
    std::vector<HANDLE> objects;
    for (int i = 0; i < events; ++i)
    {
        objects.push_back(NewEvent(false, true));
    }
    objects.push_back(CreateMutexW(nullptr, FALSE, nullptr));
    Quoll::Tests::OnThreads(4, [&](unsigned thread) {
        unsigned random = 12345u + thread;
        for (int i = 0; i < 1500; ++i)
        {
            random = random * 1664525 + 1013904223;
            const bool all = (random >> 16) % 3 == 0;
            const DWORD result = WaitForMultipleObjects(events + 1, objects.data(), all, (random >> 20) % 3);
            if (result == WAIT_TIMEOUT)
            {
                continue;
            }
            ASSERT_LE(result, DWORD{events});
            for (DWORD k = 0; k < events; ++k)
            {
                if (all || result == k)
                {
                    SetEvent(objects[k]);
                }
            }
            if (all || result == events)
            {
                EXPECT_TRUE(ReleaseMutex(objects[events]));
            }
        }
    });
    EXPECT_EQ(WaitForMultipleObjects(events + 1, objects.data(), TRUE, 0), WAIT_OBJECT_0);
    ReleaseMutex(objects[events]);
    for (const HANDLE object : objects)
    {
        CloseHandle(object);
    }
}

} // namespace
