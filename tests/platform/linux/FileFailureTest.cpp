// Transfers that stop early or fail half-way.
#include "support/ChildProcess.h"
#include "support/CodeOf.h"
#include "support/TemporaryDirectory.h"
#include "support/linux/ForcedTransfers.h"

#include <platform/native_path.h>

#include <windows.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>

#include <sys/resource.h>
#include <sys/stat.h>

namespace Quoll::Tests
{

using Platform::PathFromNative;

namespace
{

namespace fs = std::filesystem;

class FileFailures : public testing::Test
{
protected:
    FileFailures()
    {
        std::ofstream(directory.Path() / "file") << "0123456789";
    }
    WString Name(const char* name) const
    {
        return PathFromNative(directory.Path() / name);
    }
    HANDLE Open(DWORD access) const
    {
        return CreateFileW(Name("file").c_str(), access, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    }
    static std::string Content(const fs::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return std::move(text).str();
    }

    TemporaryDirectory directory;
};

TEST_F(FileFailures, ReadsGoOnUntilTheyHaveAllOrFail)
{
    const struct
    {
        std::vector<int> steps;
        DWORD code;
        std::string read;
    } rows[] = {
        {{3, -EINTR, 2, 1}, ERROR_SUCCESS, "0123456789"},
        {{-EINTR, -EINTR}, ERROR_SUCCESS, "0123456789"},
        {{4, -EIO}, ERROR_IO_DEVICE, "0123"},
    };
    for (const auto& row : rows)
    {
        const HANDLE file = Open(GENERIC_READ);
        char buffer[16];
        DWORD count = 0;
        {
            const ForcedTransfers forced(row.steps);
            EXPECT_EQ(CodeOf(ReadFile(file, buffer, sizeof buffer, &count, nullptr)), row.code);
            EXPECT_EQ(forced.Left(), 0u);
        }
        EXPECT_EQ(std::string(buffer, count), row.read);
        CloseHandle(file);
    }
}

TEST_F(FileFailures, WritesGoOnUntilTheyHaveAllOrTheDiskIsFull)
{
    const struct
    {
        std::vector<int> steps;
        DWORD code;
        DWORD written;
    } rows[] = {
        {{2, -EINTR, 1}, ERROR_SUCCESS, 4},
        {{3, -ENOSPC}, ERROR_DISK_FULL, 3},
        {{3, 0}, ERROR_DISK_FULL, 3},
        {{-EDQUOT}, ERROR_DISK_QUOTA_EXCEEDED, 0},
    };
    for (const auto& row : rows)
    {
        const HANDLE file = Open(GENERIC_WRITE);
        DWORD count = 99;
        const ForcedTransfers forced(row.steps);
        EXPECT_EQ(CodeOf(WriteFile(file, "abcd", 4, &count, nullptr)), row.code);
        EXPECT_EQ(count, row.written);
        EXPECT_EQ(forced.Left(), 0u);
        CloseHandle(file);
    }
    EXPECT_EQ(Content(directory.Path() / "file"), "abcd456789");
}

TEST_F(FileFailures, NoPartOfACopyStays)
{
    const struct
    {
        std::vector<int> steps;
        DWORD code;
    } rows[] = {
        {{3, -EINTR, 2}, ERROR_SUCCESS},            // the host's own copying
        {{3, -EXDEV, 2, 1, -EINTR}, ERROR_SUCCESS}, // and without it
        {{3, -ENOSPC}, ERROR_DISK_FULL},
        {{-EOPNOTSUPP, 4, -ENOSPC}, ERROR_DISK_FULL},
        {{-EOPNOTSUPP, -EIO}, ERROR_IO_DEVICE},
        {{5, -EIO}, ERROR_IO_DEVICE},
    };
    for (const auto& row : rows)
    {
        fs::remove(directory.Path() / "copy");
        const ForcedTransfers forced(row.steps);
        EXPECT_EQ(CodeOf(CopyFileW(Name("file").c_str(), Name("copy").c_str(), TRUE)), row.code);
        EXPECT_EQ(forced.Left(), 0u);
        EXPECT_EQ(fs::exists(directory.Path() / "copy"), row.code == ERROR_SUCCESS);
        EXPECT_TRUE(row.code != ERROR_SUCCESS || Content(directory.Path() / "copy") == "0123456789");
    }
}

TEST_F(FileFailures, OfAFailedCopyThatALinkLedToNothingStays)
{
    std::ofstream(directory.Path() / "target") << "old";
    fs::create_symlink("target", directory.Path() / "copy");
    const ForcedTransfers forced({3, -ENOSPC});
    EXPECT_EQ(CodeOf(CopyFileW(Name("file").c_str(), Name("copy").c_str(), FALSE)), DWORD{ERROR_DISK_FULL});
    EXPECT_TRUE(fs::is_symlink(directory.Path() / "copy"));
    EXPECT_EQ(Content(directory.Path() / "target"), "");
}

// Tells the outcome of what goes beyond a limit of five bytes.
CHILD_PROCESS(LimitedWriter)
{
    const fs::path folder = arguments.at(0);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlim_t before = std::exchange(limit.rlim_cur, 5);
    setrlimit(RLIMIT_FSIZE, &limit);
    const HANDLE file = CreateFileW(PathFromNative(folder / "new").c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_NEW, 0, nullptr);
    DWORD written = 0;
    std::ostringstream told;
    const auto tell = [&](BOOL done) {
        told << (done ? 0 : GetLastError()) << ' ';
    };
    tell(WriteFile(file, "0123456789", 10, &written, nullptr));
    told << written << ' ';
    SetFilePointer(file, 10, nullptr, FILE_BEGIN);
    tell(SetEndOfFile(file));
    tell(CopyFileW(PathFromNative(folder / "file").c_str(), PathFromNative(folder / "copy").c_str(), TRUE));
    told << fs::exists(folder / "copy") << ' ';
    const auto tellIfPending = [&] {
        sigset_t pending;
        told << (sigpending(&pending) == 0 && sigismember(&pending, SIGXFSZ) == 1) << ' ';
    };
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    tell(WriteFile(file, "x", 1, &written, nullptr));
    tellIfPending();
    raise(SIGXFSZ); // not the library's to take
    tell(WriteFile(file, "x", 1, &written, nullptr));
    tellIfPending();
    limit.rlim_cur = before;
    setrlimit(RLIMIT_FSIZE, &limit);
    std::cout << told.str() << std::endl;
    return 0;
}

TEST_F(FileFailures, ALimitOfSizesIsToldByItsCodeAlone)
{
    ChildProcess child("LimitedWriter", {directory.Path().string()});
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(child.Output(), "223 5 223 223 0 223 0 223 1 \n");
}

TEST_F(FileFailures, AFailedMoveToAnotherFileSystemChangesNothing)
{
    const fs::path other = "/dev/shm" / directory.Path().filename();
    struct stat here{};
    struct stat there{};
    if (stat(directory.Path().c_str(), &here) != 0 || stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev ||
        !fs::create_directory(other))
    {
        GTEST_SKIP() << "there is no second file system";
    }
    const struct
    {
        std::vector<int> steps;
        DWORD code;
    } rows[] = {
        {{3, -ENOSPC}, ERROR_DISK_FULL},
        {{-EXDEV, 3, -EIO}, ERROR_IO_DEVICE},
        {{-EXDEV, 10, 10, 10, 10, -EIO}, ERROR_IO_DEVICE}, // at the flush
    };
    for (const auto& row : rows)
    {
        const ForcedTransfers forced(row.steps);
        EXPECT_EQ(CodeOf(MoveFileW(Name("file").c_str(), PathFromNative(other / "file").c_str())), row.code);
        EXPECT_EQ(forced.Left(), 0u);
        EXPECT_EQ(Content(directory.Path() / "file"), "0123456789");
        EXPECT_TRUE(fs::is_empty(other));
    }
    std::ofstream(directory.Path() / "new") << "new";
    ForcedTransfers meanwhile({});
    meanwhile.AtTransfer = [&] {
        std::error_code ignored; // of all times but the first
        fs::rename(directory.Path() / "new", directory.Path() / "file", ignored);
    };
    EXPECT_TRUE(MoveFileW(Name("file").c_str(), PathFromNative(other / "file").c_str())) << GetLastError();
    EXPECT_EQ(Content(other / "file"), "0123456789");
    EXPECT_EQ(Content(directory.Path() / "file"), "new") << "what took the name meanwhile stays";
    fs::remove_all(other);
}

} // namespace

} // namespace Quoll::Tests
