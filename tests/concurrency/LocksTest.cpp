#include "Quoll/Locks.h"
#include "Quoll/Errors.h"

#include "concurrency/SlimLockCalls.h"

#include "support/ChildProcess.h"
#include "support/ForcedFailure.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

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
    std::vector<std::jthread> workers;
    workers.reserve(threads);
    for (int i = 0; i < threads; ++i)
    {
        workers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round)
            {
                lock();
                counter = counter + 1;
                unlock();
            }
        });
    }
    workers.clear();
    return counter - rounds * threads;
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
    std::atomic<bool> inside = false;
    std::thread other([&] {
        section.Lock();
        inside = true;
        section.Unlock();
    });
    EXPECT_FALSE(Eventually([&] { return inside.load(); }, std::chrono::milliseconds(50)));
    section.Unlock();
    other.join();
    EXPECT_TRUE(inside);
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

TEST(ReadWriteLockTest, WritersExcludeEachOther)
{
    ReadWriteLock lock;
    EXPECT_EQ(CountUnder([&] { lock.WriteExclusiveLock(); }, [&] { lock.WriteExclusiveUnlock(); }), 0);
}

TEST(ReadWriteLockTest, ReadersShareAndHoldBackAWriter)
{
    ReadWriteLock lock;
    EXPECT_TRUE(TwoReadersAtOnce(lock, GenerousLimit));

    lock.ReadSharedLock();
    std::atomic<bool> written = false;
    std::thread writer([&] {
        lock.WriteExclusiveLock();
        written = true;
        lock.WriteExclusiveUnlock();
    });
    EXPECT_FALSE(Eventually([&] { return written.load(); }, std::chrono::milliseconds(50)));
    lock.ReadSharedUnlock();
    writer.join();
    EXPECT_TRUE(written);
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
