// Files and folders by name, and what their handles do.
#include "Quoll/WideString.h"

#include "support/TemporaryDirectory.h"
#include "support/Wine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace Quoll::Tests
{

using namespace Quoll::Literals;

namespace
{

std::string Told(bool success, DWORD lastError)
{
    return success ? (lastError == 0 ? "ok" : "ok " + std::to_string(lastError)) : std::to_string(lastError);
}

/// The call's result; a success tells the last error, which it leaves at 0 or sets.
template<class Call>
std::string Outcome(Call call)
{
    SetLastError(0);
    const bool success = call() != FALSE;
    return Told(success, GetLastError());
}

class FileContract : public testing::Test
{
protected:
    WString Name(std::string_view name) const
    {
        return directory.Path().string<WChar>() + WString("\\"_w) + WString(name.begin(), name.end());
    }
    HANDLE Open(std::string_view name, DWORD access, DWORD disposition = OPEN_EXISTING, DWORD flags = 0,
                DWORD share = 0) const
    {
        SetLastError(ERROR_GEN_FAILURE);
        return CreateFileW(Name(name).c_str(), access, share, nullptr, disposition, flags, nullptr);
    }
    std::string Try(std::string_view name, DWORD access, DWORD disposition = OPEN_EXISTING, DWORD flags = 0) const
    {
        const HANDLE file = Open(name, access, disposition, flags);
        const DWORD code = GetLastError();
        const bool success = file != INVALID_HANDLE_VALUE;
        EXPECT_TRUE(!success || CloseHandle(file));
        return Told(success, code);
    }
    void Make(std::string_view name, std::string_view content = {}) const
    {
        const HANDLE file = Open(name, GENERIC_WRITE, CREATE_ALWAYS);
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr));
        EXPECT_EQ(written, content.size());
        ASSERT_TRUE(CloseHandle(file));
    }
    std::string Content(std::string_view name) const
    {
        const HANDLE file = Open(name, GENERIC_READ);
        std::string content(64, 0);
        DWORD read = 0;
        EXPECT_TRUE(ReadFile(file, content.data(), 64, &read, nullptr)) << name << GetLastError();
        CloseHandle(file);
        return content.substr(0, read);
    }
    DWORD Attributes(std::string_view name) const
    {
        return GetFileAttributesW(Name(name).c_str());
    }
    bool SetAttributes(std::string_view name, DWORD attributes) const
    {
        return SetFileAttributesW(Name(name).c_str(), attributes) != FALSE;
    }

    TemporaryDirectory directory;
};

TEST_F(FileContract, DispositionsTellWhatTheyFound)
{
    const struct
    {
        DWORD disposition;
        std::string missing;
        std::string existing;
        std::string content;
    } rows[] = {
        {CREATE_NEW, "ok", "80", "old"},
        {CREATE_ALWAYS, "ok", "ok 183", ""},
        {OPEN_EXISTING, "2", "ok", "old"},
        {OPEN_ALWAYS, "ok", "ok 183", "old"},
        {TRUNCATE_EXISTING, "2", "ok", ""},
        {0, "87", "87", "old"},
        {6, "87", "87", "old"},
    };
    for (const auto& row : rows)
    {
        Make("file", "old");
        EXPECT_EQ(Try("missing", GENERIC_WRITE, row.disposition), row.missing) << row.disposition;
        EXPECT_EQ(Try("file", GENERIC_WRITE, row.disposition), row.existing) << row.disposition;
        EXPECT_EQ(Content("file"), row.content) << row.disposition;
        EXPECT_EQ(Attributes("missing") != INVALID_FILE_ATTRIBUTES, row.missing == "ok");
        DeleteFileW(Name("missing").c_str());
    }
}

TEST_F(FileContract, NamesThatLeadNowhereHaveTheirCodes)
{
    Make("file");
    ASSERT_TRUE(CreateDirectoryW(Name("folder").c_str(), nullptr));
    const struct
    {
        const char* name;
        std::string open;
        std::string create;
        std::string makeFolder;
        std::string removeFolder;
        std::string deleteFile;
        DWORD attributes; // or the code
    } rows[] = {
        {"missing\\x", "3", "3", "3", "3", "3", ERROR_PATH_NOT_FOUND},
        {"file\\x", "3", "3", "3", "3", "3", ERROR_PATH_NOT_FOUND},
        {"folder", "5", "80", "183", "", "5", FILE_ATTRIBUTE_DIRECTORY},
        {"folder\\", "5", "80", "183", "", "5", FILE_ATTRIBUTE_DIRECTORY},
        {"missing\\..\\folder", "5", "80", "183", "", "5", FILE_ATTRIBUTE_DIRECTORY},
        {"file\\.\\..\\.\\folder/.", "5", "80", "183", "", "5", FILE_ATTRIBUTE_DIRECTORY},
        {"missing", "2", "", "", "2", "2", ERROR_FILE_NOT_FOUND},
        {"folder\\missing", "2", "", "", "2", "2", ERROR_FILE_NOT_FOUND},
        {"missing\\", "2", "123", "", "2", "", ERROR_FILE_NOT_FOUND},
        {"file\\", "123", "", "183", "", "", 0},
        {"file", "ok", "80", "183", "267", "", FILE_ATTRIBUTE_ARCHIVE},
        {"folder\\..\\file", "ok", "80", "183", "267", "", FILE_ATTRIBUTE_ARCHIVE},
    };
    for (const auto& row : rows)
    {
        const WString name = Name(row.name);
        EXPECT_EQ(Try(row.name, GENERIC_READ), row.open) << row.name;
        EXPECT_TRUE(row.create.empty() || Try(row.name, GENERIC_WRITE, CREATE_NEW) == row.create) << row.name;
        EXPECT_TRUE(row.makeFolder.empty() ||
                    Outcome([&] { return CreateDirectoryW(name.c_str(), nullptr); }) == row.makeFolder)
            << row.name << GetLastError();
        EXPECT_TRUE(row.removeFolder.empty() ||
                    Outcome([&] { return RemoveDirectoryW(name.c_str()); }) == row.removeFolder)
            << row.name << GetLastError();
        EXPECT_TRUE(row.deleteFile.empty() || Outcome([&] { return DeleteFileW(name.c_str()); }) == row.deleteFile)
            << row.name << GetLastError();
        const DWORD attributes = Attributes(row.name);
        EXPECT_TRUE(row.attributes == 0 ||
                    (attributes != INVALID_FILE_ATTRIBUTES ? attributes : GetLastError()) == row.attributes)
            << row.name << GetLastError();
    }
    Make("folder\\file");
    EXPECT_EQ(Outcome([&] { return RemoveDirectoryW(Name("folder").c_str()); }), "145");
    EXPECT_EQ(Outcome([&] { return DeleteFileW(Name("folder/file").c_str()); }), "ok");
    EXPECT_EQ(Outcome([&] { return RemoveDirectoryW(Name("folder\\").c_str()); }), "ok");
    for (const WCHAR* const none : {static_cast<const WCHAR*>(nullptr), static_cast<const WCHAR*>(""_w)})
    {
        EXPECT_EQ(Outcome([&] { return DeleteFileW(none); }), "3");
        EXPECT_EQ(Outcome([&] { return GetFileAttributesW(none) != INVALID_FILE_ATTRIBUTES; }), "3");
    }
    EXPECT_EQ(CreateFileW(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(FileContract, AFolderIsOpenedOnDemandOnly)
{
    ASSERT_TRUE(CreateDirectoryW(Name("folder").c_str(), nullptr));
    EXPECT_EQ(Try("folder", GENERIC_WRITE, CREATE_ALWAYS), "5");
    EXPECT_EQ(Try("folder", GENERIC_READ, CREATE_ALWAYS, FILE_FLAG_BACKUP_SEMANTICS), "80");
    EXPECT_EQ(Try("folder", GENERIC_WRITE, OPEN_ALWAYS, FILE_FLAG_BACKUP_SEMANTICS), "ok 183");
    const HANDLE folder = Open("folder", GENERIC_READ, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    ASSERT_NE(folder, INVALID_HANDLE_VALUE) << GetLastError();
    char buffer[4];
    DWORD read = 0;
    EXPECT_EQ(Outcome([&] { return ReadFile(folder, buffer, 4, &read, nullptr); }), "1");
    EXPECT_EQ(GetFileType(folder), DWORD{FILE_TYPE_DISK});
    EXPECT_EQ(GetFileSize(folder, nullptr), 0u);
    EXPECT_TRUE(CloseHandle(folder));
}

TEST_F(FileContract, AHandleDoesWhatItWasOpenedFor)
{
    Make("file", "abc");
    char buffer[4];
    DWORD count = 0;
    const struct
    {
        DWORD access;
        std::string read;
        std::string write;
    } rows[] = {
        {GENERIC_READ, "ok", "5"},
        {GENERIC_WRITE, "5", "ok"},
        {FILE_READ_DATA, "ok", "5"},
        {FILE_APPEND_DATA, "5", "ok"},
        {GENERIC_ALL, "ok", "ok"},
        {FILE_READ_ATTRIBUTES, "5", "5"},
        {0, "5", "5"},
    };
    for (const auto& row : rows)
    {
        const HANDLE file = Open("file", row.access);
        ASSERT_NE(file, INVALID_HANDLE_VALUE) << row.access << " " << GetLastError();
        EXPECT_EQ(Outcome([&] { return ReadFile(file, buffer, 1, &count, nullptr); }), row.read) << row.access;
        EXPECT_EQ(Outcome([&] { return WriteFile(file, "x", 1, &count, nullptr); }), row.write) << row.access;
        EXPECT_EQ(Outcome([&] { return FlushFileBuffers(file); }), row.write) << row.access;
        EXPECT_EQ(Outcome([&] { return GetFileTime(file, nullptr, nullptr, nullptr); }), "ok") << row.access;
        EXPECT_EQ(GetFileType(file), DWORD{FILE_TYPE_DISK});
        EXPECT_TRUE(CloseHandle(file));
    }
    EXPECT_EQ(Content("file"), "xxcx"); // in place, at the end, behind what was read
    EXPECT_FALSE(ReadFile(nullptr, buffer, 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(FileContract, PositionsMoveAndAreChecked)
{
    Make("file", "0123456789");
    const HANDLE file = Open("file", GENERIC_READ | GENERIC_WRITE);
    LONG high = 0;
    EXPECT_EQ(SetFilePointer(file, 4, nullptr, FILE_BEGIN), 4u);
    EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_CURRENT), 3u);
    EXPECT_EQ(SetFilePointer(file, -2, nullptr, FILE_END), 8u);
    const auto move = [&](LONG distance, LONG* upper, DWORD method) {
        return SetFilePointer(file, distance, upper, method) != INVALID_SET_FILE_POINTER || GetLastError() == 0;
    };
    EXPECT_EQ(Outcome([&] { return move(-9, nullptr, FILE_CURRENT); }), "131");
    EXPECT_EQ(Outcome([&] { return move(0, nullptr, 3); }), "87");
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 8u);
    char buffer[8];
    DWORD count = 9;
    EXPECT_TRUE(ReadFile(file, buffer, 8, &count, nullptr));
    EXPECT_EQ(std::string_view(buffer, count), "89");
    EXPECT_TRUE(ReadFile(file, buffer, 8, &count, nullptr));
    EXPECT_EQ(count, 0u);

    high = 1;
    SetLastError(ERROR_GEN_FAILURE);
    EXPECT_EQ(SetFilePointer(file, -1, &high, FILE_BEGIN), 0xFFFFFFFFu); // a position as well as a failure's mark
    EXPECT_EQ(GetLastError(), 0u);
    EXPECT_EQ(high, 1);
    LARGE_INTEGER position{};
    LARGE_INTEGER distance{};
    distance.QuadPart = -0x1FFFFFFF0;
    EXPECT_TRUE(SetFilePointerEx(file, distance, &position, FILE_CURRENT));
    EXPECT_EQ(position.QuadPart, 15);
    EXPECT_TRUE(SetEndOfFile(file)); // longer: filled with zeros
    EXPECT_EQ(GetFileSize(file, nullptr), 15u);
    distance.QuadPart = 0x100000002;
    EXPECT_TRUE(SetFilePointerEx(file, distance, nullptr, FILE_BEGIN));
    EXPECT_TRUE(SetEndOfFile(file));
    DWORD upper = 0;
    EXPECT_EQ(GetFileSize(file, &upper), 2u);
    EXPECT_EQ(upper, 1u);
    EXPECT_TRUE(GetFileSizeEx(file, &position));
    EXPECT_EQ(position.QuadPart, distance.QuadPart);
    CloseHandle(file);
    EXPECT_EQ(Content("file").substr(0, 16), std::string("0123456789\0\0\0\0\0\0", 16));
}

OVERLAPPED At(LONGLONG offset, HANDLE event = nullptr)
{
    OVERLAPPED record{};
    record.Pointer = reinterpret_cast<void*>(static_cast<ULONG_PTR>(offset));
    record.hEvent = event;
    return record;
}

TEST_F(FileContract, ARecordGivesThePlace)
{
    Make("file", "0123456789");
    const HANDLE file = Open("file", GENERIC_READ | GENERIC_WRITE);
    char buffer[4];
    DWORD count = 0;
    OVERLAPPED record = At(2);
    EXPECT_TRUE(ReadFile(file, buffer, 2, &count, &record));
    EXPECT_EQ(std::string_view(buffer, count), "23");
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 4u);
    record = At(100);
    EXPECT_EQ(Outcome([&] { return ReadFile(file, buffer, 2, &count, &record); }), "38");
    record = At(-1); // behind the last byte
    EXPECT_TRUE(WriteFile(file, "ab", 2, &count, &record));
    CloseHandle(file);
    EXPECT_EQ(Content("file"), "0123456789ab");
}

TEST_F(FileContract, OverlappedTransfersEndInTheirEvent)
{
    Make("file", "0123456789");
    const HANDLE file = Open("file", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, FILE_FLAG_OVERLAPPED);
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    char buffer[4] = {};
    DWORD count = 0;
    EXPECT_EQ(Outcome([&] { return ReadFile(file, buffer, 2, &count, nullptr); }), "87");
    for (const auto& [offset, expected] : {std::pair<LONGLONG, std::string>{8, "ok"}, {50, "38"}})
    {
        OVERLAPPED record = At(offset, event);
        ResetEvent(event);
        const BOOL done = ReadFile(file, buffer, 2, nullptr, &record);
        EXPECT_TRUE(done || GetLastError() == ERROR_IO_PENDING || GetLastError() == ERROR_HANDLE_EOF);
        EXPECT_EQ(WaitForSingleObject(event, 60000), DWORD{WAIT_OBJECT_0});
        EXPECT_EQ(Outcome([&] { return GetOverlappedResult(file, &record, &count, TRUE); }), expected);
    }
    EXPECT_EQ(std::string_view(buffer, 2), "89");
    CloseHandle(event);
    CloseHandle(file);
}

TEST_F(FileContract, ReadOnlyFilesAreKept)
{
    Make("file", "old");
    ASSERT_TRUE(SetAttributes("file", FILE_ATTRIBUTE_READONLY));
    EXPECT_NE(Attributes("file") & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_EQ(Try("file", GENERIC_READ), "ok");
    EXPECT_EQ(Outcome([&] { return DeleteFileW(Name("file").c_str()); }), "5");
    const bool wine = IsWine(); // lets root write
    EXPECT_TRUE(wine || Try("file", GENERIC_WRITE) == "5");
    EXPECT_TRUE(wine || Try("file", FILE_APPEND_DATA, OPEN_ALWAYS) == "5");
    EXPECT_TRUE(wine || Try("file", GENERIC_READ, CREATE_ALWAYS) == "5");
    EXPECT_EQ(Content("file"), "old");
    ASSERT_TRUE(SetAttributes("file", FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(Attributes("file") & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_EQ(Try("file", GENERIC_WRITE), "ok");

    EXPECT_EQ(Try("born so", GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_READONLY), "ok");
    EXPECT_EQ(Attributes("born so"), DWORD{FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE});
    ASSERT_TRUE(SetAttributes("born so", 0));
}

TEST_F(FileContract, AttributesStay)
{
    Make("file", "old");
    constexpr DWORD marks = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;
    EXPECT_EQ(Attributes("file"), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    ASSERT_TRUE(SetAttributes("file", marks | FILE_ATTRIBUTE_DIRECTORY)); // which can't be set
    EXPECT_EQ(Attributes("file"), marks);
    EXPECT_EQ(Try("file", GENERIC_WRITE, CREATE_ALWAYS, FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM), "ok 183");
    EXPECT_EQ(Attributes("file"), marks);
    EXPECT_EQ(Try("new", GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_HIDDEN), "ok");
    EXPECT_EQ(Attributes("new"), DWORD{FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE});
    for (const DWORD mark : {FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM})
    {
        const DWORD attributes = mark | FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE;
        EXPECT_TRUE(SetAttributes("new", attributes)) << GetLastError();
        EXPECT_EQ(Attributes("new"), attributes);
    }
    EXPECT_TRUE(SetAttributes("new", 0));
    if (IsWine())
    {
        GTEST_SKIP() << "Wine keeps no others, always sets ARCHIVE, and replaces hidden files";
    }
    EXPECT_EQ(Try("file", GENERIC_WRITE, CREATE_ALWAYS, FILE_ATTRIBUTE_HIDDEN), "5");
    EXPECT_EQ(Try("file", GENERIC_WRITE, OPEN_ALWAYS), "ok 183");
    for (const DWORD attributes :
         {FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_TEMPORARY, FILE_ATTRIBUTE_OFFLINE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED})
    {
        EXPECT_TRUE(SetAttributes("file", attributes));
        EXPECT_EQ(Attributes("file"), attributes);
    }
    ASSERT_TRUE(CreateDirectoryW(Name("folder").c_str(), nullptr));
    EXPECT_TRUE(SetAttributes("folder", FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(Attributes("folder"), DWORD{FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(Try("folder\\file", GENERIC_WRITE, CREATE_NEW), "ok"); // a remark only
    EXPECT_TRUE(DeleteFileW(Name("folder\\file").c_str()));
    EXPECT_EQ(Outcome([&] { return RemoveDirectoryW(Name("folder").c_str()); }), "5");
    EXPECT_TRUE(SetAttributes("folder", 0));
    EXPECT_TRUE(RemoveDirectoryW(Name("folder").c_str()));
}

TEST_F(FileContract, TimesThatAreGivenAreSetAndTheOthersStay)
{
    Make("file");
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(GetFileAttributesExW(Name("file").c_str(), GetFileExInfoStandard, &data));
    const HANDLE file = Open("file", GENERIC_READ | GENERIC_WRITE);
    const FILETIME moment = {123456780, 30000000};
    const FILETIME none = {0, 0};
    FILETIME creation{};
    FILETIME lastAccess{};
    FILETIME lastWrite{};
    EXPECT_TRUE(SetFileTime(file, nullptr, &none, &moment));
    EXPECT_TRUE(GetFileTime(file, &creation, &lastAccess, &lastWrite));
    EXPECT_TRUE(IsWine() || CompareFileTime(&creation, &data.ftCreationTime) == 0); // Wine takes the last write's
    EXPECT_NE(CompareFileTime(&lastAccess, &moment), 0);
    EXPECT_EQ(CompareFileTime(&lastWrite, &moment), 0);
    CloseHandle(file);
    ASSERT_TRUE(GetFileAttributesExW(Name("file").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(CompareFileTime(&data.ftLastWriteTime, &moment), 0);

    EXPECT_EQ(Outcome([&] { return GetFileAttributesExW(Name("none").c_str(), GetFileExInfoStandard, &data); }), "2");
}

} // namespace

} // namespace Quoll::Tests
