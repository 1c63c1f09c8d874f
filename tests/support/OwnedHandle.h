// A kernel object's handle that a test closes.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

namespace Quoll::Tests
{

class OwnedHandle
{
public:
    explicit OwnedHandle(HANDLE handle)
        : m_handle(handle)
    {
        EXPECT_NE(handle, nullptr);
    }
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;
    ~OwnedHandle()
    {
        CloseHandle(m_handle);
    }
    operator HANDLE() const
    {
        return m_handle;
    }

private:
    HANDLE m_handle;
};

} // namespace Quoll::Tests
