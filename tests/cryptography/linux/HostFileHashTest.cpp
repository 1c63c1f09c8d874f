// Digests of what a host's file system has beyond plain files.
#include "Quoll/MD5.h"
#include "filesystem/FileSupport.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace Quoll::Literals;
using namespace Quoll::Tests;
using Quoll::Utilities::MD5;
using Quoll::Utilities::NativePath;

TEST(MD5HostTest, NothingWaitsForPipesAndDevices)
{
    const TestFolder folder;
    const Quoll::WString pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(NativePath::ToNative(pipe).c_str(), 0666), 0);
    for (const Quoll::WString& path : {pipe, Quoll::WString("/dev/zero"_w)})
    {
        EXPECT_EQ(FileCode("CreateFile failed: ", [&] { MD5::ComputeHash(path); }), DWORD{ERROR_ACCESS_DENIED});
    }
}

TEST(MD5HostTest, AFileThatTellsNoSizeIsReadWhole)
{
    EXPECT_NE(MD5::ComputeHash("/proc/self/cmdline"_w), "D41D8CD98F00B204E9800998ECF8427E"_w);
}

// Sizes need more than 32 bits. The digest is that of another program.
TEST(MD5HostTest, TortureAFileAboveFourGibibytes)
{
    const TestFolder folder;
    const std::filesystem::path path = NativePath::ToNative(folder / "sparse");
    std::ofstream(path).close();
    std::filesystem::resize_file(path, 5ull << 30);
    std::ofstream(path, std::ios::app) << "end";
    EXPECT_EQ(MD5::ComputeHash(folder / "sparse"), "87185CF34315A167CEAE5F2171B17044"_w);
}
