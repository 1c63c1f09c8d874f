#include "Quoll/NativePath.h"
#include "Quoll/Errors.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

DWORD CodeOfFailure(const WString& path)
{
    try
    {
        NativePath::ToNative(path);
        return ERROR_SUCCESS;
    }
    catch (const FileSystemException& error)
    {
        return static_cast<DWORD>(error.code().value());
    }
}

TEST(NativePathTest, BothSpellingsOfOneFile)
{
    const WString path = "C:\\some folder\\\xC3\xA4\xF0\x9F\x98\x80.txt"_w;
    EXPECT_EQ(NativePath::FromNative(NativePath::ToNative(path)), path);
    const WString relative = "folder\\name"_w;
    EXPECT_EQ(NativePath::FromNative(NativePath::ToNative(relative)), relative);
    EXPECT_EQ(NativePath::FromNative(NativePath::ToNative(WString())), WString());
}

TEST(NativePathTest, NulNamesNoFile)
{
    EXPECT_EQ(CodeOfFailure("C:\\a\0b"_w), DWORD{ERROR_INVALID_NAME});
}

} // namespace

} // namespace Quoll::Utilities
