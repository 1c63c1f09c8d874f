#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

namespace
{

template<class Call>
void ExpectInvalid(Call call)
{
    SetLastError(0);
    EXPECT_TRUE(call());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(HandleContract, WhatIsNotTheKindOfObjectIsInvalid)
{
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
    const HANDLE closed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_TRUE(CloseHandle(closed));
    for (const HANDLE handle : {closed, HANDLE{nullptr}, reinterpret_cast<HANDLE>(ULONG_PTR{0x7FFFFFF0})})
    {
        ExpectInvalid([&] { return !SetEvent(handle); });
        ExpectInvalid([&] { return WaitForSingleObject(handle, 0) == WAIT_FAILED; });
    }
    ExpectInvalid([&] { return !CloseHandle(closed); });
    ExpectInvalid([&] { return !ReleaseMutex(event); });
    ExpectInvalid([&] { return !SetEvent(mutex); });
    CloseHandle(event);
    CloseHandle(mutex);
}

TEST(HandleContract, ManyHandlesAreDistinctAndAllWork)
{
    std::vector<HANDLE> events;
    for (int i = 0; i < 10000; ++i)
    {
        events.push_back(CreateEventW(nullptr, TRUE, i % 2, nullptr));
        ASSERT_NE(events.back(), nullptr);
    }
    for (std::size_t i = 0; i < events.size(); ++i)
    {
        ASSERT_EQ(WaitForSingleObject(events[i], 0), i % 2 != 0 ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
        ASSERT_TRUE(CloseHandle(events[i]));
    }
}

} // namespace
