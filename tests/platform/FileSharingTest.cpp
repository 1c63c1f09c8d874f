// Who may open a file that others have open.
#include "Quoll/WideString.h"

#include "support/ChildProcess.h"
#include "support/Gate.h"
#include "support/Threads.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <iostream>
#include <string>
#include <vector>

namespace Quoll::Tests
{

using namespace Quoll::Literals;

namespace
{

constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE Open(const WString& name, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING, DWORD flags = 0)
{
    return CreateFileW(name.c_str(), access, share, nullptr, disposition, flags, nullptr);
}

DWORD Try(const WString& name, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING)
{
    const HANDLE file = Open(name, access, share, disposition);
    const DWORD code = file == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
    return file == INVALID_HANDLE_VALUE || CloseHandle(file) ? code : GetLastError();
}

class FileSharingContract : public testing::Test
{
protected:
    FileSharingContract()
        : name(directory.Path().string<WChar>() + WString("\\file"_w))
    {
        EXPECT_EQ(Try(name, GENERIC_WRITE, 0, CREATE_NEW), DWORD{ERROR_SUCCESS});
    }

    TemporaryDirectory directory;
    const WString name;
};

TEST_F(FileSharingContract, EachSharesWhatTheOtherDoes)
{
    constexpr DWORD rights[] = {FILE_READ_DATA, FILE_WRITE_DATA, DELETE};
    const auto access = [&](DWORD bits) {
        return ((bits & 1) != 0 ? rights[0] : 0) | ((bits & 2) != 0 ? rights[1] : 0) |
               ((bits & 4) != 0 ? rights[2] : 0);
    };
    for (DWORD first = 0; first < 64; ++first)
    {
        const HANDLE held = Open(name, access(first / 8), first % 8);
        ASSERT_NE(held, INVALID_HANDLE_VALUE) << GetLastError();
        for (DWORD second = 0; second < 64; ++second)
        {
            // Those who only look at a file don't count.
            const bool looks = first / 8 == 0 || second / 8 == 0;
            const bool goes = looks || ((first / 8 & ~(second % 8)) == 0 && (second / 8 & ~(first % 8)) == 0);
            EXPECT_EQ(Try(name, access(second / 8), second % 8), goes ? 0 : DWORD{ERROR_SHARING_VIOLATION})
                << first << " " << second;
        }
        ASSERT_TRUE(CloseHandle(held));
    }
}

TEST_F(FileSharingContract, ManyHoldersAreAllAsked)
{
    std::vector<HANDLE> held;
    for (int i = 0; i < 20; ++i)
    {
        held.push_back(Open(name, i % 2 == 0 ? GENERIC_READ : FILE_WRITE_DATA, all));
        ASSERT_NE(held.back(), INVALID_HANDLE_VALUE) << GetLastError();
    }
    held.push_back(Open(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
    EXPECT_EQ(Try(name, DELETE, all), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Try(name, GENERIC_WRITE, all), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Try(name, GENERIC_WRITE, FILE_SHARE_WRITE), DWORD{ERROR_SHARING_VIOLATION});
    for (const HANDLE file : held)
    {
        EXPECT_TRUE(CloseHandle(file));
    }
    EXPECT_EQ(Try(name, GENERIC_ALL, 0), DWORD{ERROR_SUCCESS});
}

TEST_F(FileSharingContract, AFileInUseIsNotEmptied)
{
    const HANDLE held = Open(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ);
    DWORD count = 0;
    ASSERT_TRUE(WriteFile(held, "abc", 3, &count, nullptr));
    EXPECT_EQ(Try(name, GENERIC_WRITE, all, CREATE_ALWAYS), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Try(name, GENERIC_WRITE, all, TRUNCATE_EXISTING), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(GetFileSize(held, nullptr), 3u);
    CloseHandle(held);
}

TEST_F(FileSharingContract, OnlyAFileThatSharesDeletionIsDeleted)
{
    HANDLE held = Open(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_FALSE(DeleteFileW(name.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(held);
    held = Open(name, GENERIC_READ | GENERIC_WRITE, all);
    EXPECT_TRUE(DeleteFileW(name.c_str())) << GetLastError();
    DWORD count = 0;
    EXPECT_TRUE(WriteFile(held, "abc", 3, &count, nullptr)); // it lives on without a name
    EXPECT_EQ(GetFileSize(held, nullptr), 3u);
    CloseHandle(held);
    EXPECT_EQ(Try(name, GENERIC_READ, all), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(FileSharingContract, AFolderInUseIsKept)
{
    const WString folder = name + WString("s"_w);
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    const HANDLE held =
        Open(folder, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    ASSERT_NE(held, INVALID_HANDLE_VALUE) << GetLastError();
    EXPECT_FALSE(RemoveDirectoryW(folder.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(held);
    EXPECT_TRUE(RemoveDirectoryW(folder.c_str())) << GetLastError();
}

CHILD_PROCESS(FileHolder)
{
    const WString name = std::filesystem::path(arguments.at(0)).string<WChar>();
    const HANDLE file = Open(name, GENERIC_READ, FILE_SHARE_READ);
    std::cout << (file != INVALID_HANDLE_VALUE ? "holding" : "failed") << std::endl;
    std::string line;
    std::getline(std::cin, line);
    return 0;
}

TEST_F(FileSharingContract, HoldsBetweenProcessesUntilTheHolderIsKilled)
{
    ChildProcess reader("FileHolder", {(directory.Path() / "file").string()});
    ASSERT_TRUE(reader.WaitForOutput("holding")) << reader.Output();
    EXPECT_EQ(Try(name, GENERIC_WRITE, all), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Try(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(DeleteFileW(name.c_str()));
    reader.Kill();
    EXPECT_EQ(Try(name, GENERIC_ALL, 0), DWORD{ERROR_SUCCESS});
}

TEST_F(FileSharingContract, OfTwoThatComeTogetherOneIsLetIn)
{
    constexpr std::size_t rounds = 300;
    std::deque<Gate> gates; // std::barrier sleeps for ever now and then where the runtime has no futex
    for (std::size_t i = 0; i < rounds; ++i)
    {
        gates.emplace_back(2);
    }
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    std::vector<std::atomic<int>> let(rounds);
    OnThreads(2, [&](unsigned number) {
        for (std::size_t i = 0; i < rounds; ++i)
        {
            gates[i].Arrive();
            gates[i].Wait();
            const HANDLE file = Open(name, number == 0 ? GENERIC_READ : GENERIC_WRITE, 0);
            if (file != INVALID_HANDLE_VALUE)
            {
                most = std::max<int>(most, ++inside);
                ++let[i];
                --inside;
                CloseHandle(file);
            }
        }
    });
    EXPECT_EQ(most, 1);
    EXPECT_EQ(std::count(let.begin(), let.end(), 0), 0);
}

TEST_F(FileSharingContract, ThoseWhoShareNeverHinderEachOther)
{
    constexpr DWORD accesses[] = {GENERIC_READ, GENERIC_WRITE, FILE_APPEND_DATA, DELETE};
    OnThreads(4, [&](unsigned number) {
        for (int i = 0; i < 300; ++i)
        {
            EXPECT_EQ(Try(name, accesses[number], all), DWORD{ERROR_SUCCESS});
        }
    });
}

} // namespace

} // namespace Quoll::Tests
