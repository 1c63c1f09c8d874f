#include "Quoll/Locks.h"
#include "Quoll/Errors.h"

#include "concurrency/SlimLockCalls.h"

#include "support/ChildProcess.h"
#include "support/ForcedFailure.h"
#include "support/Threads.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <thread>

namespace Quoll::Utilities
{

using namespace Quoll::Tests;

namespace
{

// Used before main, by the constructor of another static object.
ReadWriteLock g_staticLock;
struct StaticUser
{
    StaticUser()
    {
        g_staticLock.WriteExclusiveLock();
        g_staticLock.WriteExclusiveUnlock();
    }
};
const StaticUser g_staticUser;

template<typename Lock, typename Unlock>
int CountUnder(Lock lock, Unlock unlock)
{
    constexpr int rounds = 20000;
    constexpr int threads = 4;
    int counter = 0;
    OnThreads(threads, [&](unsigned) {
        for (int round = 0; round < rounds; ++round)
        {
            lock();
            counter = counter + 1;
            unlock();
        }
    });
    return counter - rounds * threads;
}

// Whether another thread gets the lock only once it was released.
template<typename Lock, typename Unlock, typename Release>
bool ComesInAfter(Lock lock, Unlock unlock, Release release)
{
    std::atomic<bool> inside = false;
    std::thread other([&] {
        lock();
        inside = true;
        unlock();
    });
    const bool early = Eventually([&] { return inside.load(); }, std::chrono::milliseconds(50));
    release();
    other.join();
    return !early && inside;
}

// Whether a second reader gets in while a first one holds the lock; both have to be done in the end.
bool TwoReadersAtOnce(ReadWriteLock& lock, std::chrono::milliseconds limit)
{
    std::atomic<bool> inside = false;
    lock.ReadSharedLock();
    std::thread second([&] {
        lock.ReadSharedLock();
        inside = true;
        lock.ReadSharedUnlock();
    });
    const bool together = Eventually([&] { return inside.load(); }, limit);
    lock.ReadSharedUnlock();
    second.join();
    return together && inside;
}

TEST(CriticalSectionTest, ExcludesOtherThreads)
{
    CriticalSection section;
    EXPECT_EQ(CountUnder([&] { section.Lock(); }, [&] { section.Unlock(); }), 0);
}

TEST(CriticalSectionTest, OneThreadMayLockAgain)
{
    CriticalSection section;
    section.Lock();
    section.Lock();
    section.Unlock();
    EXPECT_TRUE(ComesInAfter([&] { section.Lock(); }, [&] { section.Unlock(); }, [&] { section.Unlock(); }));
}

TEST(CriticalSectionTest, FailureToInitialiseIsThrown)
{
    const ForcedFailure failure(ForcedCall::InitializeCriticalSectionAndSpinCount, ERROR_NOT_ENOUGH_MEMORY);
    try
    {
        const CriticalSection section;
        FAIL() << "no exception";
    }
    catch (const Win32Exception& error)
    {
        EXPECT_EQ(error.GetErrorCode(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
        EXPECT_EQ(std::string(error.what()).find("Can't initialize critical section: "), 0u);
    }
}

TEST(ReadWriteLockTest, WritersExcludeEachOtherAndReaders)
{
    ReadWriteLock lock;
    std::atomic<bool> ended = false;
    int copy = 0;
    int torn = 0;
    int counter = 0;
    std::thread reader([&] {
        while (!ended)
        {
            lock.ReadSharedLock();
            torn += counter != copy ? 1 : 0;
            lock.ReadSharedUnlock();
        }
    });
    EXPECT_EQ(CountUnder(
                  [&] {
                      lock.WriteExclusiveLock();
                      ++counter;
                  },
                  [&] {
                      ++copy;
                      lock.WriteExclusiveUnlock();
                  }),
              0);
    ended = true;
    reader.join();
    EXPECT_EQ(torn, 0);
}

TEST(ReadWriteLockTest, ReadersShareAndHoldBackAWriter)
{
    ReadWriteLock lock;
    EXPECT_TRUE(TwoReadersAtOnce(lock, GenerousLimit));

    lock.ReadSharedLock();
    EXPECT_TRUE(ComesInAfter([&] { lock.WriteExclusiveLock(); }, [&] { lock.WriteExclusiveUnlock(); },
                             [&] { lock.ReadSharedUnlock(); }));
}

CHILD_PROCESS(LocksWithoutSlimLock)
{
    ReadWriteLock lock;
    if (TwoReadersAtOnce(lock, std::chrono::milliseconds(100)))
    {
        return 1; // as if there were a slim lock
    }
    lock.WriteExclusiveLock();
    lock.ReadSharedLock(); // the critical section lets one thread in again
    lock.ReadSharedUnlock();
    lock.WriteExclusiveUnlock();

    const ForcedFailure failure(ForcedCall::InitializeCriticalSectionAndSpinCount, ERROR_NOT_ENOUGH_MEMORY);
    try
    {
        const ReadWriteLock refused;
    }
    catch (const Win32Exception& error)
    {
        return error.GetErrorCode() == ERROR_NOT_ENOUGH_MEMORY ? 0 : 2;
    }
    return 3;
}

TEST(ReadWriteLockTest, WithoutSlimLockItIsACriticalSection)
{
    ChildProcess child("LocksWithoutSlimLock", {},
                       {ForcedFromTheStart(ForcedCall::GetProcAddress, ERROR_PROC_NOT_FOUND)});
    EXPECT_EQ(child.Wait(), 0) << child.Output();
}

TEST(ReadWriteLockTest, OneMissingCallMeansNoSlimLock)
{
    EXPECT_TRUE(FindSlimLockCalls().available);
    for (std::size_t nth = 1; nth <= 5; ++nth)
    {
        const ForcedFailure failure(ForcedCall::GetProcAddress, ERROR_PROC_NOT_FOUND, {.nth = nth});
        EXPECT_FALSE(FindSlimLockCalls().available) << nth;
    }
}

} // namespace

} // namespace Quoll::Utilities
