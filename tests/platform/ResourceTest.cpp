// Last error, memory, modules and security descriptors.
#include "Quoll/WideString.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

namespace Quoll::Tests
{

using namespace Quoll::Literals;

namespace
{

TEST(LastErrorContract, BelongsToTheThread)
{
    // No other call may come between setting and reading.
    std::atomic<bool> go = false;
    std::atomic<bool> done = false;
    std::thread other([&] {
        while (!go)
        {
        }
        SetLastError(ERROR_ACCESS_DENIED);
        done = true;
    });
    SetLastError(ERROR_PIPE_BUSY);
    go = true;
    while (!done)
    {
    }
    const DWORD code = GetLastError();
    other.join();
    EXPECT_EQ(code, DWORD{ERROR_PIPE_BUSY});
}

TEST(MemoryContract, IsZeroedOnDemandAndNeverNullForNoSize)
{
    void* const local = LocalAlloc(LPTR, 4096);
    ASSERT_NE(local, nullptr);
    const char zeros[4096] = {};
    EXPECT_EQ(std::memcmp(local, zeros, sizeof zeros), 0);
    EXPECT_EQ(LocalFree(local), nullptr);
    EXPECT_EQ(LocalFree(nullptr), nullptr);

    void* const global = GlobalAlloc(GMEM_FIXED, 0);
    EXPECT_NE(global, nullptr);
    EXPECT_EQ(GlobalFree(global), nullptr);
}

TEST(ModuleContract, NamesNeedNeitherCaseNorExtension)
{
    const HMODULE kernel = GetModuleHandleW("kernel32.dll"_w);
    ASSERT_NE(kernel, nullptr);
    EXPECT_EQ(GetModuleHandleW("KERNEL32"_w), kernel);
    EXPECT_EQ(GetModuleHandleW("Kernel32.DLL"_w), kernel);
    EXPECT_EQ(LoadLibraryW("kernel32.dll"_w), kernel);
    EXPECT_TRUE(FreeLibrary(kernel));
    for (const WideLiteral name : {"kernel32.exe"_w, "kernel3"_w, "no such module"_w})
    {
        EXPECT_EQ(GetModuleHandleW(name.data()), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    }
    EXPECT_NE(GetProcAddress(kernel, "ReleaseSRWLockShared"), nullptr);
    EXPECT_EQ(GetProcAddress(kernel, "releasesrwlockshared"), nullptr) << "entry points need theirs";
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
}

TEST(SecurityContract, RevisionOneAndTheNullList)
{
    SECURITY_DESCRIPTOR descriptor;
    EXPECT_FALSE(InitializeSecurityDescriptor(&descriptor, 2));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_UNKNOWN_REVISION});
    ASSERT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
    EXPECT_EQ(descriptor.Control, 0);
    ASSERT_TRUE(SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE));
    EXPECT_EQ(descriptor.Control, SE_DACL_PRESENT);
    EXPECT_EQ(descriptor.Dacl, nullptr);
    ASSERT_TRUE(SetSecurityDescriptorDacl(&descriptor, FALSE, nullptr, FALSE));
    EXPECT_EQ(descriptor.Control & SE_DACL_PRESENT, 0);

    descriptor.Revision = 7;
    EXPECT_FALSE(SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_UNKNOWN_REVISION});
}

} // namespace

} // namespace Quoll::Tests
