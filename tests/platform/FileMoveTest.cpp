// Copies, moves and temporary files.
#include "Quoll/WideString.h"

#include "support/CodeOf.h"
#include "support/TemporaryDirectory.h"
#include "support/Wine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>

namespace Quoll::Tests
{

using namespace Quoll::Literals;

namespace
{

/// A folder with files "one" and "two", of that content, and the folders "full" with a file in it, and "empty".
class FileMoveContract : public testing::Test
{
protected:
    FileMoveContract()
    {
        for (const char* const name : {"one", "two"})
        {
            std::ofstream(directory.Path() / name) << name;
        }
        std::filesystem::create_directories(directory.Path() / "full");
        std::filesystem::create_directories(directory.Path() / "empty");
        std::ofstream(directory.Path() / "full" / "file") << "inner";
    }
    ~FileMoveContract() override
    {
        for (const char* const name : {"one", "two", "three"})
        {
            SetFileAttributesW(Name(name).c_str(), FILE_ATTRIBUTE_NORMAL); // what is read-only can't be removed
        }
    }

    WString Name(std::string_view name) const
    {
        return directory.Path().string<WChar>() + WString("\\"_w) + WString(name.begin(), name.end());
    }
    std::string Content(std::string_view name) const
    {
        std::ifstream file(directory.Path() / name, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return file ? std::move(text).str() : "none";
    }
    DWORD Copy(std::string_view from, std::string_view to, BOOL failIfExists) const
    {
        SetLastError(ERROR_GEN_FAILURE);
        return CodeOf(CopyFileW(Name(from).c_str(), Name(to).c_str(), failIfExists));
    }
    DWORD Move(std::string_view from, std::string_view to, DWORD flags = 0) const
    {
        SetLastError(ERROR_GEN_FAILURE);
        return CodeOf(flags == 0 ? MoveFileW(Name(from).c_str(), Name(to).c_str())
                                 : MoveFileExW(Name(from).c_str(), Name(to).c_str(), flags));
    }
    HANDLE Open(std::string_view name, DWORD access, DWORD share) const
    {
        return CreateFileW(Name(name).c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
    }

    TemporaryDirectory directory;
};

TEST_F(FileMoveContract, CopiesAndTheirRefusals)
{
    const struct
    {
        const char* from;
        const char* to;
        DWORD keeping;
        DWORD replacing;
    } rows[] = {
        {"one", "new", 0, 0},  {"one", "two", 80, 0},      {"one", "one", 80, 32},
        {"none", "new", 2, 2}, {"one", "none\\new", 3, 3}, {"none\\x", "y", 3, 3},
        {"full", "new", 5, 5}, {"one", "full", 80, 5},     {"one", "two\\new", 3, 3},
    };
    for (const auto& row : rows)
    {
        std::filesystem::remove(directory.Path() / "new");
        EXPECT_EQ(Copy(row.from, row.to, TRUE), row.keeping) << row.from << " " << row.to;
        EXPECT_EQ(Copy(row.from, row.to, FALSE), row.replacing) << row.from << " " << row.to;
        EXPECT_TRUE(row.replacing != 0 || Content(row.to) == Content(row.from)) << row.from << " " << row.to;
    }
    EXPECT_EQ(Content("one"), "one");
    EXPECT_EQ(CodeOf(CopyFileW(nullptr, Name("x").c_str(), FALSE)), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(FileMoveContract, ACopyHasTheAttributesAndTheLastWrite)
{
    const HANDLE file = Open("one", GENERIC_WRITE, 0);
    const FILETIME moment = {123456780, 30000000};
    ASSERT_TRUE(SetFileTime(file, nullptr, nullptr, &moment));
    CloseHandle(file);
    ASSERT_TRUE(SetFileAttributesW(Name("one").c_str(),
                                   FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE));
    ASSERT_EQ(Copy("one", "three", FALSE), DWORD{ERROR_SUCCESS});
    WIN32_FILE_ATTRIBUTE_DATA copy{};
    ASSERT_TRUE(GetFileAttributesExW(Name("three").c_str(), GetFileExInfoStandard, &copy));
    EXPECT_EQ(CompareFileTime(&copy.ftLastWriteTime, &moment), 0);
    EXPECT_TRUE(IsWine() || copy.dwFileAttributes == GetFileAttributesW(Name("one").c_str())); // Wine loses HIDDEN
    EXPECT_NE(copy.dwFileAttributes & FILE_ATTRIBUTE_READONLY, 0u);
    if (!IsWine()) // where root replaces read-only files
    {
        EXPECT_EQ(Copy("two", "three", FALSE), DWORD{ERROR_ACCESS_DENIED});
        EXPECT_EQ(Content("three"), "one");
    }
}

TEST_F(FileMoveContract, MovesAndTheirRefusals)
{
    constexpr DWORD replace = MOVEFILE_REPLACE_EXISTING;
    const struct
    {
        const char* from;
        const char* to;
        DWORD flags;
        DWORD code;
    } rows[] = {
        {"one", "two", 0, 183},           {"one", "one", 0, 0},
        {"one", "one", replace, 0},       {"full", "full", 0, 0},
        {"one", "none\\new", 0, 3},       {"one", "two\\new", 0, 3},
        {"two\\x", "new", 0, 3},          {"none", "new", 0, 2},
        {"one", "empty", 0, 183},         {"one", "empty", replace, 5},
        {"empty", "one", 0, 183},         {"full", "empty", replace, 5},
        {"one\\", "new", 0, 123},         {"one", "new", MOVEFILE_WRITE_THROUGH, 0},
        {"new", "two", replace, 0},       {"full", "moved\\", 0, 0},
        {"moved\\", "empty\\full", 0, 0},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Move(row.from, row.to, row.flags), row.code) << row.from << " " << row.to << " " << row.flags;
    }
    EXPECT_EQ(Content("two"), "one");
    EXPECT_EQ(Content("one"), "none");
    EXPECT_EQ(Content("empty/full/file"), "inner");
    EXPECT_EQ(CodeOf(MoveFileW(nullptr, Name("x").c_str())), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(FileMoveContract, AReadOnlyFileIsMovedButNotReplaced)
{
    ASSERT_TRUE(SetFileAttributesW(Name("one").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(IsWine() || Move("two", "one", MOVEFILE_REPLACE_EXISTING) == ERROR_ACCESS_DENIED);
    EXPECT_EQ(Move("one", "three"), DWORD{ERROR_SUCCESS});
    EXPECT_NE(GetFileAttributesW(Name("three").c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
}

TEST_F(FileMoveContract, WhatIsInUseStays)
{
    constexpr DWORD reading = FILE_SHARE_READ | FILE_SHARE_WRITE;
    HANDLE held = Open("one", GENERIC_READ, reading);
    EXPECT_EQ(Move("one", "new"), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Move("two", "one", MOVEFILE_REPLACE_EXISTING), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Copy("one", "new", FALSE), DWORD{ERROR_SUCCESS});
    CloseHandle(held);

    held = Open("one", GENERIC_READ, reading | FILE_SHARE_DELETE);
    EXPECT_EQ(Move("two", "one", MOVEFILE_REPLACE_EXISTING), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Move("one", "three"), DWORD{ERROR_SUCCESS});
    char buffer[8];
    DWORD read = 0;
    EXPECT_TRUE(ReadFile(held, buffer, 8, &read, nullptr)); // the handle goes with it
    EXPECT_EQ(std::string_view(buffer, read), "one");
    CloseHandle(held);

    held = Open("two", GENERIC_WRITE, FILE_SHARE_WRITE);
    EXPECT_EQ(Copy("two", "new", FALSE), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Content("new"), "one");
    CloseHandle(held);
}

TEST_F(FileMoveContract, TemporaryNamesAreFree)
{
    WCHAR path[MAX_PATH];
    const DWORD length = GetTempPathW(MAX_PATH, path);
    ASSERT_NE(length, 0u);
    EXPECT_EQ(path[length - 1], '\\');
    EXPECT_EQ(path[length], 0);
    EXPECT_EQ(GetTempPathW(length, path), length + 1);
    EXPECT_EQ(GetTempPathW(0, nullptr), length + 1);

    WCHAR names[2][MAX_PATH];
    for (WCHAR* const name : {names[0], names[1]})
    {
        const UINT number = GetTempFileNameW(Name("empty").c_str(), "abcdef"_w, 0, name);
        ASSERT_NE(number, 0u) << GetLastError();
        EXPECT_LE(number, 0xFFFFu);
        const WString whole = name;
        EXPECT_TRUE(whole.starts_with(Name("empty\\abc"))) << whole.size();
        EXPECT_TRUE(whole.ends_with(".tmp"_w));
        WIN32_FILE_ATTRIBUTE_DATA data{};
        EXPECT_TRUE(GetFileAttributesExW(name, GetFileExInfoStandard, &data));
        EXPECT_EQ(data.nFileSizeLow, 0u);
    }
    EXPECT_NE(WString(names[0]), WString(names[1]));

    EXPECT_EQ(GetTempFileNameW(Name("full\\").c_str(), ""_w, 0x98765, names[0]), 0x8765u); // no file is made then
    EXPECT_TRUE(IsWine() || WString(names[0]) == Name("full\\8765.tmp"));                  // Wine takes all the digits
    EXPECT_EQ(GetFileAttributesW(names[0]), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(CodeOf(GetTempFileNameW(Name("none").c_str(), "a"_w, 0, names[0]) != 0u), DWORD{ERROR_DIRECTORY});
    EXPECT_EQ(CodeOf(GetTempFileNameW(Name("one").c_str(), "a"_w, 0, names[0]) != 0u), DWORD{ERROR_DIRECTORY});
}

} // namespace

} // namespace Quoll::Tests
