#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

namespace
{

TEST(HandleContract, ClosedHandleIsInvalidForEveryCall)
{
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_NE(event, nullptr);
    ASSERT_NE(event, INVALID_HANDLE_VALUE);
    ASSERT_TRUE(CloseHandle(event));

    SetLastError(0);
    EXPECT_FALSE(CloseHandle(event));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_FALSE(SetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(HandleContract, NullAndForeignValuesAreInvalid)
{
    SetLastError(0);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    SetLastError(0);
    EXPECT_FALSE(SetEvent(reinterpret_cast<HANDLE>(ULONG_PTR{0x7FFFFFF0})));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(HandleContract, ObjectOfAnotherKindIsInvalid)
{
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
    EXPECT_FALSE(ReleaseMutex(event));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_FALSE(SetEvent(mutex));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
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
