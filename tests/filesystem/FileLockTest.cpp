#include "Quoll/Errors.h"
#include "Quoll/File.h"
#include "Quoll/StringUtilities.h"
#include "filesystem/FileSupport.h"
#include "support/ChildProcess.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>

namespace
{

using namespace Quoll::Tests;
using namespace Quoll::Utilities;
using Quoll::WString;

class FileLock : public testing::Test
{
protected:
    TestFolder m_folder;
    WString m_path = m_folder / "file.bin";
};

// Holds a lock until it is told to let go.
CHILD_PROCESS(FileLockHolder)
{
    const SharedHandle lock = File::Lock(NativePath::FromNative(arguments.at(0)));
    std::printf("locked\n");
    std::fflush(stdout);
    return std::getchar();
}

TEST_F(FileLock, ALockKeepsWritersOutUntilItsHolderIsKilled)
{
    PutBytes(m_path, "\1\2");
    const auto write = [&] {
        File::WriteAllBytes(m_path, {1});
    };
    ChildProcess child("FileLockHolder", {NativePath::ToNative(m_path).string()});
    ASSERT_TRUE(child.WaitForOutput("locked")) << child.Output();
    EXPECT_EQ(FileCode("CreateFile failed.: ", write), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(FileCode("DeleteFile failed.: ", [&] { File::Delete(m_path); }), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_FALSE(File::IsLocked(m_path)) << "reading is shared";
    EXPECT_EQ(File::ReadAllBytes(m_path), std::vector<std::uint8_t>({1, 2}));
    EXPECT_TRUE(File::Lock(m_path).IsValid()) << "and so are locks";
    child.Kill();
    write();
    const WString missing = m_folder / "missing";
    EXPECT_EQ(PlatformCode("Could not lock the binary before secure loading. File: " +
                               StringUtilities::TruncateToAscii(missing) + ": ",
                           [&] { File::Lock(missing); }),
              2u);
}

TEST_F(FileLock, AFileOpenedWithoutSharedReadingIsLocked)
{
    PutBytes(m_path, "x");
    const SharedHandle open(::CreateFileW(m_path.c_str(), GENERIC_READ, FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(open.IsValid());
    EXPECT_TRUE(File::IsLocked(m_path));
}

} // namespace
