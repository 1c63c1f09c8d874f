#include "Quoll/File.h"

#include "Quoll/Errors.h"
#include "filesystem/FileSupport.h"
#include "support/ForcedFailure.h"
#include "support/MessageOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>

namespace
{

using namespace Quoll::Literals;
using namespace Quoll::Tests;
using namespace Quoll::Utilities;
using Quoll::WString;
using Bytes = std::vector<std::uint8_t>;

Bytes BytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

class FileTest : public testing::Test
{
protected:
    TestFolder m_folder;
    WString m_path = m_folder / "file.bin";
    WString m_missing = m_folder / "missing";
    WString m_nowhere = m_folder / "no folder/file";
};

TEST_F(FileTest, State)
{
    PutBytes(m_path, "12345");
    EXPECT_TRUE(File::Exists(m_path));
    EXPECT_TRUE(File::ItemExists(m_path));
    EXPECT_FALSE(File::Exists(m_folder.Path()));
    EXPECT_TRUE(File::ItemExists(m_folder.Path()));
    for (const WString& path : {m_missing, m_nowhere, WString()})
    {
        EXPECT_FALSE(File::Exists(path));
        EXPECT_FALSE(File::ItemExists(path));
        EXPECT_EQ(File::GetSize(path), 0u);
        EXPECT_FALSE(File::IsEncrypted(path));
        EXPECT_FALSE(File::IsLocked(path));
    }
    EXPECT_EQ(File::GetSize(m_path), 5u);
    EXPECT_FALSE(File::IsEncrypted(m_path));
    std::filesystem::resize_file(NativePath::ToNative(m_path), 0x100000007);
    EXPECT_EQ(File::GetSize(m_path), 0x100000007u);
}

TEST_F(FileTest, Times)
{
    UtcTime before = UtcTime::Now();
    before.SubMilliseconds(20); // the times of files are taken from a clock that ticks slowly
    PutBytes(m_path, "x");
    const auto native = NativePath::ToNative(m_path);
    const UtcTime written = File::GetFileLastWriteTime(m_path);
    EXPECT_GE(written, before);
    EXPECT_GE(File::GetCreationTime(m_path), before);
    std::filesystem::last_write_time(native, std::filesystem::last_write_time(native) - std::chrono::hours(1000));
    EXPECT_EQ((written - File::GetFileLastWriteTime(m_path)).GetTicks() / 10'000'000, 3'600'000);
    EXPECT_EQ(PlatformCode("Can't get file attributes: ", [&] { File::GetCreationTime(m_missing); }), 2u);
    EXPECT_EQ(PlatformCode("Can't get file attributes: ", [&] { File::GetFileLastWriteTime(m_nowhere); }), 3u);
}

TEST_F(FileTest, PermissionProbes)
{
    EXPECT_FALSE(File::IsWritePermissonAvailable(m_missing));
    EXPECT_FALSE(File::IsWritePermissonAvailable(m_folder.Path()));
    PutBytes(m_path, "x");
    EXPECT_TRUE(File::IsWritePermissonAvailable(m_path));
    {
        const ForcedFailure failure(ForcedCall::CreateFileW, ERROR_ACCESS_DENIED);
        EXPECT_TRUE(File::IsWritePermissonAvailable(m_path)) << "only false tells something";
        EXPECT_EQ(failure.Failures(), 1u);
    }
    EXPECT_EQ(MessageOf<std::runtime_error>([] { File::IsWritePermissonAvailable({}); }),
              "The provided filename is empty");
    EXPECT_EQ(MessageOf<std::runtime_error>([] { File::IsCreatePermissonAvailable({}); }),
              "The provided folder is empty");

    const auto files = [&] {
        const std::filesystem::directory_iterator all(NativePath::ToNative(m_folder.Path()));
        return std::distance(begin(all), end(all));
    };
    EXPECT_FALSE(File::IsCreatePermissonAvailable(m_nowhere));
    EXPECT_TRUE(File::IsCreatePermissonAvailable(m_folder.Path()));
    EXPECT_EQ(files(), 2) << "the probe stays";
    const ForcedFailure taken(ForcedCall::CreateFileW, ERROR_FILE_EXISTS);
    EXPECT_TRUE(File::IsCreatePermissonAvailable(m_folder.Path())) << "another took the name";
    EXPECT_EQ(taken.Failures(), 1u);
    EXPECT_EQ(files(), 3);
}

TEST_F(FileTest, FilesComeAndGo)
{
    File::CreateNewEmptyFile(m_path);
    EXPECT_EQ(PlatformCode("Failed to create empty file!: ", [&] { File::CreateNewEmptyFile(m_path); }), 80u);
    File::Delete(m_path);
    EXPECT_FALSE(File::ItemExists(m_path));
    File::Delete(m_path); // what is missing is no failure
    EXPECT_EQ(FileCode("DeleteFile failed.: ", [&] { File::Delete(m_nowhere); }), 3u);
}

TEST_F(FileTest, AllBytes)
{
    Bytes bytes(1'000'003);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    for (const Bytes& content : {bytes, BytesOf("short"), Bytes()})
    {
        File::WriteAllBytes(m_path, content);
        EXPECT_TRUE(File::ReadAllBytes(m_path) == content);
    }
    const auto read = [](const WString& path) {
        File::ReadAllBytes(path);
    };
    EXPECT_EQ(FileCode("CreateFile failed.: ", [&] { read(m_missing); }), 2u);
    EXPECT_EQ(FileCode("CreateFile failed.: ", [&] { File::WriteAllBytes(m_nowhere, {}); }), 3u);
    std::filesystem::resize_file(NativePath::ToNative(m_path), 0x100000001);
    EXPECT_EQ(FileCode("Could not read, all bytes.: ", [&] { read(m_path); }), DWORD{ERROR_FILE_TOO_LARGE});
}

TEST_F(FileTest, SomeBytes)
{
    PutBytes(m_path, "0123456789");
    const struct
    {
        std::int32_t offset;
        std::uint32_t count;
        const char* expected;
    } cases[] = {{0, 4, "0123"}, {4, 6, "456789"}, {8, 0xFFFFFFFF, "89"}, {10, 1, ""}, {0x7FFFFFFF, 5, ""}};
    for (const auto& [offset, count, expected] : cases)
    {
        EXPECT_EQ(File::ReadBytes(m_path, offset, count), BytesOf(expected)) << offset << ' ' << count;
    }
    EXPECT_TRUE(File::ReadBytes(m_missing, -1, 0).empty()) << "nothing is opened";
    EXPECT_EQ(FileCode("CreateFile failed.: ", [&] { File::ReadBytes(m_missing, 0, 1); }), 2u);
    EXPECT_EQ(FileCode("Can't set file pointer: ", [&] { File::ReadBytes(m_path, -1, 1); }),
              DWORD{ERROR_NEGATIVE_SEEK});
}

TEST_F(FileTest, FailuresOfBytesAreTold)
{
    PutBytes(m_path, "content");
    {
        const ForcedFailure failure(ForcedCall::ReadFile, ERROR_IO_DEVICE, {.later = true});
        EXPECT_EQ(FileCode("Could not read, all bytes.: ", [&] { File::ReadAllBytes(m_path); }), 1117u);
        EXPECT_EQ(FileCode("Could not read, all bytes.: ", [&] { File::ReadBytes(m_path, 1, 1); }), 1117u);
    }
    {
        const ForcedFailure failure(ForcedCall::GetFileSizeEx, ERROR_IO_DEVICE);
        EXPECT_EQ(FileCode("Could not read, all bytes.: ", [&] { File::ReadAllBytes(m_path); }), 1117u);
    }
    const ForcedFailure failure(ForcedCall::WriteFile, ERROR_DISK_FULL);
    EXPECT_EQ(FileCode("Could not write all bytes. FileName:: ", [&] { File::WriteAllBytes(m_path, {1, 2}); }), 112u);
}

TEST_F(FileTest, NamesComeFromTheSeedAlone)
{
    const auto name = [](const WString& digits) {
        return "C:\\no such folder\\"_w + digits + ".tmp"_w;
    };
    const std::pair<std::uint64_t, WString> seeds[] = {
        {0, "0391453e"_w}, {1, "082c875d"_w}, {1606139100, "dba17218"_w}, {0xFFFFFFFF, "0d15e321"_w}};
    for (const auto& [seed, digits] : seeds)
    {
        EXPECT_EQ(File::GenerateNewFileName("C:\\no such folder"_w, ".tmp"_w, 8, seed), name(digits)) << seed;
        EXPECT_EQ(File::GenerateNewFileName("C:\\no such folder\\"_w, ".tmp"_w, 8, seed | 0x500000000), name(digits));
    }
    EXPECT_EQ(File::GenerateNewFileName("no such folder"_w, "x"_w, 0, 1), "no such folder\\x"_w);
    EXPECT_EQ(File::GenerateNewFileNameFromExisting("D:\\a.b\\log.old.txt"_w, 4, 1), "D:\\a.b\\log.old_082c.txt"_w);
    EXPECT_EQ(File::GenerateNewFileNameFromExisting("log"_w, 4, 1), "log_082c"_w);

    // The digit of the highest number alone is f.
    const WString many = File::GenerateNewFileName("x"_w, ".x"_w, 100000, 42);
    EXPECT_LT(std::count(many.begin(), many.end(), 'f'), 20);
    EXPECT_GT(std::count(many.begin(), many.end(), 'e'), 6000);
}

TEST_F(FileTest, NamesThatExistArePassedOver)
{
    const WString first = File::GenerateNewFileName(m_folder.Path(), ".tmp"_w, 8, 5);
    const WString second = File::GenerateNewFileName(m_folder.Path(), ".tmp"_w, 8, 6);
    PutBytes(first, "");
    EXPECT_EQ(File::GenerateNewFileName(m_folder.Path(), ".tmp"_w, 8, 5), second);
    PutBytes(second, "");
    EXPECT_EQ(File::GenerateNewFileName(m_folder.Path(), ".tmp"_w, 8, 5),
              File::GenerateNewFileName(m_folder.Path(), ".tmp"_w, 8, 7));

    EXPECT_EQ(MessageOf<std::runtime_error>([] { File::GenerateNewFileName({}, {}, 8, 1); }),
              "The provided path is empty");
    EXPECT_EQ(MessageOf<std::runtime_error>([] { File::GenerateNewFileName("x"_w, {}, 8, 1); }),
              "The provided extension is empty");
    EXPECT_EQ(MessageOf<std::runtime_error>([] { File::GenerateNewFileNameFromExisting({}, 8, 1); }),
              "The provided path is empty");
}

} // namespace
