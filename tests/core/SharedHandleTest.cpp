#include "Quoll/SharedHandle.h"
#include "Quoll/HandleDeleters.h"
#include "Quoll/WideString.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

HANDLE NewEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

bool IsOpen(HANDLE handle)
{
    return WaitForSingleObject(handle, 0) != WAIT_FAILED;
}

TEST(SharedHandleTest, EmptyAndInvalidValuesAreNoHandles)
{
    EXPECT_FALSE(SharedHandle().IsValid());
    EXPECT_EQ(SharedHandle().get(), nullptr);

    SharedHandle handle(NewEvent());
    EXPECT_TRUE(handle.IsValid());
    handle.Reset(INVALID_HANDLE_VALUE);
    EXPECT_FALSE(handle.IsValid());
    EXPECT_EQ(handle.get(), INVALID_HANDLE_VALUE);
}

TEST(SharedHandleTest, TheLastOwnerCloses)
{
    const HANDLE raw = NewEvent();
    {
        SharedHandle first(raw);
        SharedHandle second = first;
        first.Reset(nullptr);
        EXPECT_EQ(second.get(), raw);
        EXPECT_TRUE(IsOpen(raw));

        SharedHandle third = second.Duplicate();
        EXPECT_EQ(third.get(), raw);
        second = SharedHandle();
        EXPECT_TRUE(IsOpen(raw));
    }
    EXPECT_FALSE(IsOpen(raw));
}

TEST(SharedHandleTest, ResetClosesTheOldHandleOfItsLastOwner)
{
    const HANDLE raw = NewEvent();
    SharedHandle handle(raw);
    handle.Reset(NewEvent());
    EXPECT_FALSE(IsOpen(raw));
    EXPECT_TRUE(IsOpen(handle.get()));
}

// What is left behind is promised, so it is looked at.
// NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
TEST(SharedHandleTest, MovedFromIsEmptyAndUsable)
{
    const HANDLE raw = NewEvent();
    SharedHandle source(raw);
    SharedHandle target(std::move(source));
    EXPECT_FALSE(source.IsValid());
    EXPECT_EQ(target.get(), raw);

    SharedHandle replaced(NewEvent());
    const HANDLE old = replaced.get();
    replaced = std::move(target);
    EXPECT_FALSE(IsOpen(old));
    EXPECT_TRUE(IsOpen(raw));
    EXPECT_EQ(target.get(), nullptr);

    SharedHandle& self = replaced;
    replaced = std::move(self);
    EXPECT_EQ(replaced.get(), raw);
    EXPECT_TRUE(IsOpen(raw));

    source = replaced;
    EXPECT_EQ(source.get(), raw);
}
// NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)

TEST(HandleDeletersTest, ReleaseWhatTheyOwn)
{
    const HANDLE raw = NewEvent();
    std::unique_ptr<void, HandleDeleter>(raw).reset();
    EXPECT_FALSE(IsOpen(raw));
    const HANDLE file = NewEvent();
    std::unique_ptr<void, FileHandleDeleter>(file).reset();
    EXPECT_FALSE(IsOpen(file));

    // Whether these leak is for the leak checker to see.
    std::unique_ptr<void, GlobalMemoryDeleter>(GlobalAlloc(GPTR, 16)).reset();
    std::unique_ptr<ACL, ACLDeleter>(static_cast<ACL*>(LocalAlloc(LPTR, 16))).reset();
    std::unique_ptr<void, SecurityDescriptorDeleter>(LocalAlloc(LPTR, 16)).reset();
    std::unique_ptr<HMODULE, ModuleHandleDeleter>(LoadLibraryW("kernel32.dll"_w)).reset();
}

TEST(HandleDeletersTest, LeaveInvalidValuesAlone)
{
    SetLastError(ERROR_SUCCESS);
    HandleDeleter()(INVALID_HANDLE_VALUE);
    HandleDeleter()(nullptr);
    FileHandleDeleter()(INVALID_HANDLE_VALUE);
    FindFileHandleDeleter()(nullptr);
    ServiceHandleDeleter()(nullptr);
    ModuleHandleDeleter()(nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});

    FindFileHandleDeleter()(INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

} // namespace

} // namespace Quoll::Utilities
