// What only a Unix host has: pipes, devices, links, names that aren't text, several file systems, rights.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/FileName.h"

#include "support/CodeOf.h"
#include "support/TemporaryDirectory.h"

#include <platform/native_path.h>

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Quoll::Tests
{

using Platform::PathFromNative;

namespace
{

namespace fs = std::filesystem;

constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

DWORD Try(const fs::path& path, DWORD access, DWORD disposition = OPEN_EXISTING)
{
    const HANDLE file = CreateFileW(PathFromNative(path).c_str(), access, all, nullptr, disposition, 0, nullptr);
    const DWORD code = file == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
    return file == INVALID_HANDLE_VALUE || CloseHandle(file) ? code : GetLastError();
}

DWORD Attributes(const fs::path& path)
{
    return GetFileAttributesW(PathFromNative(path).c_str());
}

DWORD Delete(const fs::path& path)
{
    return CodeOf(DeleteFileW(PathFromNative(path).c_str()));
}

std::string Content(const fs::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return std::move(text).str();
}

class FilePlaces : public testing::Test
{
protected:
    void Write(const char* name, const char* text) const
    {
        std::ofstream(At(name)) << text;
    }
    fs::path At(const char* name) const
    {
        return directory.Path() / name;
    }

    TemporaryDirectory directory;
};

TEST_F(FilePlaces, ErrnoByOperation)
{
    using enum Platform::FileOperation;
    const struct
    {
        int value;
        Platform::FileOperation operation;
        DWORD code;
    } rows[] = {
        {EEXIST, Create, 80},  {EEXIST, MakeFolder, 183}, {ENOSPC, Transfer, 112},      {EDQUOT, Transfer, 1295},
        {EIO, Transfer, 1117}, {EBADF, Transfer, 5},      {EISDIR, Transfer, 1},        {ENXIO, Open, 5},
        {ETXTBSY, Open, 32},   {EAGAIN, Open, 32},        {ELOOP, Open, 1921},          {ENAMETOOLONG, Open, 206},
        {EACCES, Delete, 5},   {EPERM, Delete, 5},        {EBUSY, RemoveFolder, 32},    {ENOTEMPTY, RemoveFolder, 145},
        {EROFS, Create, 19},   {EXDEV, Move, 17},         {ENOTDIR, RemoveFolder, 267}, {EMFILE, Open, 4},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Platform::FromErrno(row.value, row.operation), row.code) << row.value;
    }
}

TEST_F(FilePlaces, DotsAreTakenOutOfTheText)
{
    const struct
    {
        const char16_t* text;
        const char16_t* clean;
    } rows[] = {
        {u"C:\\a\\.\\b\\..\\c", u"C:\\a\\c"},
        {u"C:\\..\\..\\a", u"C:\\a"},
        {u"a\\..\\..\\b", u"..\\b"},
        {u"..\\..\\a\\..", u"..\\.."},
        {u"C:..\\a\\..", u"C:.."},
        {u".", u"."},
        {u"a\\..", u"."},
        {u"C:\\a\\..\\", u"C:\\"},
        {u"a/./b/", u"a\\b\\"},
        {u"\\\\?\\C:\\a\\..", u"\\\\?\\C:\\a\\.."},
        {u"C:\\.a\\b..\\...", u"C:\\.a\\b..\\..."},
        {u"\\a\\..\\..\\b", u"\\b"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Platform::WithoutDots(row.text), row.clean);
    }
}

/// Separators that follow each other are one.
bool IsOnePath(std::string_view first, std::string_view second)
{
    const auto together = [](std::string_view path) {
        std::string single(path);
        const auto end = std::unique(single.begin(), single.end(), [](char a, char b) { return a == '/' && b == '/'; });
        single.erase(end, single.end());
        return single;
    };
    return together(first) == together(second);
}

TEST_F(FilePlaces, PlainNamesAreReadAsAllOthers)
{
    std::mt19937 random(1);
    const char16_t* const pieces[] = {u"\\", u"/",   u"C:", u"c:\\",    u".",     u"..",
                                      u"a",  u"x.y", u":",  u"Windows", u"\u00E4"};
    for (int round = 0; round < 20000; ++round)
    {
        WString name;
        for (auto left = 1 + random() % 6; left > 0; --left)
        {
            name += pieces[random() % std::size(pieces)];
        }
        fs::path native;
        Platform::FileName file;
        const bool expected = Platform::PathToNative(Platform::WithoutDots(name), native);
        ASSERT_EQ(file.Parse(name.c_str()), expected) << PathFromNative(native).size();
        ASSERT_TRUE(!expected || IsOnePath(file.Native(), native.native())) << native << " " << file.Native();
    }
}

TEST_F(FilePlaces, PipesSocketsAndDevicesAreSeenButNotOpened)
{
    ASSERT_EQ(mkfifo(At("fifo").c_str(), 0666), 0);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = At("socket").string();
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    for (const fs::path& place : {At("fifo"), At("socket"), fs::path("/dev/zero"), fs::path("/dev/tty")})
    {
        for (const DWORD access : {GENERIC_READ, GENERIC_WRITE, DELETE, DWORD{0}})
        {
            EXPECT_EQ(Try(place, access), DWORD{ERROR_ACCESS_DENIED}) << place;
        }
        EXPECT_EQ(Try(place, GENERIC_WRITE, CREATE_ALWAYS), DWORD{ERROR_ACCESS_DENIED}) << place;
        EXPECT_EQ(Attributes(place), DWORD{FILE_ATTRIBUTE_DEVICE}) << place;
        EXPECT_EQ(CodeOf(CopyFileW(PathFromNative(place).c_str(), PathFromNative(At("copy")).c_str(), FALSE)),
                  DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_EQ(Delete(At("fifo")), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Delete(At("socket")), DWORD{ERROR_SUCCESS});
    close(listener);
    EXPECT_EQ(Try("/dev/null", GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS), DWORD{ERROR_SUCCESS});
}

TEST_F(FilePlaces, LinksAreFollowedButDeletedThemselves)
{
    Write("file", "text");
    fs::create_symlink("file", At("link"));
    fs::create_symlink("nowhere", At("dangling"));
    fs::create_symlink("circle", At("circle"));
    EXPECT_EQ(Attributes(At("link")), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_EQ(Try(At("link"), GENERIC_READ), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Try(At("dangling"), GENERIC_READ), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Try(At("dangling"), GENERIC_WRITE, CREATE_NEW), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(Attributes(At("dangling")), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(Try(At("circle"), GENERIC_READ), DWORD{ERROR_CANT_RESOLVE_FILENAME});
    EXPECT_EQ(Try(At("circle"), GENERIC_READ, OPEN_ALWAYS), DWORD{ERROR_CANT_RESOLVE_FILENAME});
    for (const char* const name : {"link", "dangling", "circle"})
    {
        EXPECT_EQ(Delete(At(name)), DWORD{ERROR_SUCCESS}) << name;
    }
    EXPECT_EQ(Content(At("file")), "text");
    fs::create_symlink("made", At("link"));
    EXPECT_EQ(Try(At("link"), GENERIC_WRITE, OPEN_ALWAYS), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(fs::exists(At("made")));
}

TEST_F(FilePlaces, AnyHostNameIsOpenedAndDeleted)
{
    for (const char* const name : {"\xFF\xFE", "a\\b", "C:", "a:b", "?*<>|\"", " ", "trailing. ", "NUL"})
    {
        const fs::path path = At(name);
        EXPECT_EQ(Try(path, GENERIC_WRITE, CREATE_NEW), DWORD{ERROR_SUCCESS}) << name;
        EXPECT_TRUE(fs::exists(path)) << name;
        EXPECT_EQ(Delete(path), DWORD{ERROR_SUCCESS}) << name;
        EXPECT_FALSE(fs::exists(path)) << name;
    }
    EXPECT_EQ(Try(At(std::string(300, 'x').c_str()), GENERIC_READ), DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_EQ(Try(std::string(70'000, 'x'), GENERIC_READ), DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_EQ(CodeOf(GetFileAttributesW(u"\\\\server\\share") != INVALID_FILE_ATTRIBUTES), DWORD{ERROR_BAD_NETPATH});
    EXPECT_EQ(GetFileAttributesW((u"\\\\?\\" + PathFromNative(At("none")) + u"\\..").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(FilePlaces, WriteOnlyFilesAreShared)
{
    Write("file", "text");
    ASSERT_EQ(chmod(At("file").c_str(), S_IWUSR), 0);
    const WString name = PathFromNative(At("file"));
    const auto open = [&](DWORD share) {
        return CreateFileW(name.c_str(), FILE_WRITE_DATA, share, nullptr, OPEN_EXISTING, 0, nullptr);
    };
    const HANDLE first = open(FILE_SHARE_WRITE);
    const HANDLE second = open(FILE_SHARE_WRITE);
    EXPECT_NE(first, INVALID_HANDLE_VALUE);
    EXPECT_NE(second, INVALID_HANDLE_VALUE);
    EXPECT_EQ(CodeOf(open(0) != INVALID_HANDLE_VALUE), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Delete(At("file")), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(first);
    CloseHandle(second);
}

TEST_F(FilePlaces, AStrangersLockOfTheWholeFileSharesNothing)
{
    Write("file", "text");
    const int stranger = open(At("file").c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock{};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(stranger, F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(Try(At("file"), GENERIC_READ), DWORD{ERROR_SHARING_VIOLATION});
    close(stranger);
    EXPECT_EQ(Try(At("file"), GENERIC_READ), DWORD{ERROR_SUCCESS});
}

TEST_F(FilePlaces, ACopyIsNoMoreOpenThanItsSource)
{
    Write("file", "text");
    for (const mode_t mode : {0700U, 0600U, 0755U, 0444U})
    {
        ASSERT_EQ(chmod(At("file").c_str(), mode), 0);
        fs::remove(At("copy"));
        ASSERT_TRUE(CopyFileW(PathFromNative(At("file")).c_str(), PathFromNative(At("copy")).c_str(), TRUE));
        struct stat facts{};
        ASSERT_EQ(stat(At("copy").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 0777 & ~mode, 0u) << mode;
        EXPECT_EQ(facts.st_mode & 0700, mode & 0700) << mode;
    }
}

TEST_F(FilePlaces, ACopyHasWhatLiesBeyondTheSizeThatIsTold)
{
    EXPECT_TRUE(CopyFileW(u"/proc/self/mounts", PathFromNative(At("copy")).c_str(), TRUE)) << GetLastError();
    EXPECT_EQ(Content(At("copy")), Content("/proc/self/mounts"));
}

TEST_F(FilePlaces, OneOfTwoNamesOfAFileTakesTheOthersPlace)
{
    Write("one", "text");
    fs::create_hard_link(At("one"), At("two"));
    const auto move = [&](const char* from, const char* to, DWORD flags) {
        return MoveFileExW(PathFromNative(At(from)).c_str(), PathFromNative(At(to)).c_str(), flags);
    };
    EXPECT_TRUE(move("one", "./one", MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(CodeOf(move("one", "two", 0)), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_TRUE(move("one", "two", MOVEFILE_REPLACE_EXISTING)) << GetLastError();
    EXPECT_FALSE(fs::exists(At("one")));
    EXPECT_EQ(Content(At("two")), "text");
    EXPECT_EQ(CodeOf(move("two", "three", MOVEFILE_DELAY_UNTIL_REBOOT)), DWORD{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(CodeOf(move("two", "three", MOVEFILE_DELAY_UNTIL_REBOOT | MOVEFILE_COPY_ALLOWED)),
              DWORD{ERROR_INVALID_PARAMETER});
}

/// A folder on a file system that isn't that of temporary files.
class FileTransplants : public FilePlaces
{
protected:
    void SetUp() override
    {
        struct stat here{};
        struct stat there{};
        if (stat(directory.Path().c_str(), &here) != 0 || stat("/dev/shm", &there) != 0 ||
            here.st_dev == there.st_dev || access("/dev/shm", W_OK) != 0)
        {
            GTEST_SKIP() << "there is no second file system";
        }
        other = "/dev/shm" / directory.Path().filename();
        fs::create_directory(other);
    }
    ~FileTransplants() override
    {
        if (!other.empty())
        {
            fs::remove_all(other);
        }
    }
    DWORD Move(const fs::path& from, const fs::path& to, DWORD flags = MOVEFILE_COPY_ALLOWED) const
    {
        return CodeOf(MoveFileExW(PathFromNative(from).c_str(), PathFromNative(to).c_str(), flags));
    }
    static std::size_t Names(const fs::path& folder)
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    fs::path other;
};

TEST_F(FileTransplants, AFileArrivesAsItWas)
{
    Write("file", "text");
    const WString name = PathFromNative(At("file"));
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_HIDDEN));
    const std::array<timespec, 2> times = {timespec{1'000'000, 100}, timespec{2'000'000, 200}};
    ASSERT_EQ(chmod(At("file").c_str(), 0440), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, At("file").c_str(), times.data(), 0), 0);
    EXPECT_EQ(Move(At("file"), other / "file", 0), DWORD{ERROR_NOT_SAME_DEVICE});
    ASSERT_TRUE(MoveFileW(name.c_str(), PathFromNative(other / "file").c_str())) << GetLastError();
    EXPECT_FALSE(fs::exists(At("file")));
    struct stat facts{};
    ASSERT_EQ(stat((other / "file").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0440u);
    EXPECT_EQ(facts.st_mtim.tv_sec, 2'000'000);
    EXPECT_EQ(facts.st_mtim.tv_nsec, 200);
    EXPECT_EQ(facts.st_atim.tv_sec, 1'000'000);
    EXPECT_EQ(Attributes(other / "file"), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(Content(other / "file"), "text");
    EXPECT_EQ(Names(other), 1u);
}

TEST_F(FileTransplants, RefusalsLeaveBothPlacesAsTheyWere)
{
    Write("file", "text");
    std::ofstream(other / "file") << "old";
    fs::create_directory(At("folder"));
    EXPECT_EQ(Move(At("file"), other / "file"), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(Move(At("folder"), other / "folder"), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Move(At("folder"), other / "folder", 0), DWORD{ERROR_NOT_SAME_DEVICE});
    EXPECT_EQ(Move(At("file"), other / "none" / "file"), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(Content(At("file")), "text");
    EXPECT_EQ(Content(other / "file"), "old");
    EXPECT_EQ(Names(other), 1u);
    EXPECT_EQ(Move(At("file"), other / "file", MOVEFILE_COPY_ALLOWED | MOVEFILE_REPLACE_EXISTING),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Content(other / "file"), "text");
}

TEST_F(FileTransplants, ALinkArrivesAsALink)
{
    fs::create_symlink("nowhere", At("link"));
    EXPECT_EQ(Move(At("link"), other / "link"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(fs::read_symlink(other / "link"), "nowhere");
    EXPECT_FALSE(fs::is_symlink(At("link")));
}

TEST_F(FilePlaces, AnOrdinaryUserIsRefused)
{
    if (geteuid() == 0)
    {
        GTEST_SKIP() << "root may do everything";
    }
    Write("file", "text");
    fs::create_directory(At("folder"));
    Write("folder/file", "text");
    ASSERT_EQ(chmod(At("file").c_str(), S_IWUSR), 0);
    ASSERT_EQ(chmod(At("folder").c_str(), S_IRUSR | S_IXUSR), 0);
    EXPECT_EQ(Try(At("file"), GENERIC_READ), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Try(At("file"), GENERIC_WRITE), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Try(At("folder/new"), GENERIC_WRITE, CREATE_NEW), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Delete(At("folder/file")), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Delete("/etc/passwd"), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(CodeOf(SetFileAttributesW(u"/etc/passwd", FILE_ATTRIBUTE_READONLY)), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(CodeOf(MoveFileW(u"/etc/passwd", PathFromNative(At("passwd")).c_str())), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(fs::exists(At("passwd")));
    ASSERT_EQ(chmod(At("folder").c_str(), S_IRWXU), 0);
}

} // namespace

} // namespace Quoll::Tests
