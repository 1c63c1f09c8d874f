// What a host's file system has beyond plain files.
#include "Quoll/Errors.h"
#include "Quoll/File.h"
#include "filesystem/FileSupport.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <sys/stat.h>
#include <thread>

namespace
{

using namespace Quoll::Literals;
using namespace Quoll::Tests;
using namespace Quoll::Utilities;
using Quoll::WString;
using Lines = std::vector<WString>;

class HostFile : public testing::Test
{
protected:
    std::filesystem::path Native(const WString& path)
    {
        return NativePath::ToNative(path);
    }
    WString Text(const WString& path)
    {
        return File::ReadAllText(path, m_encoding);
    }

    TestFolder m_folder;
    WString m_path = m_folder / "file";
    WString m_link = m_folder / "link";
    FileEncoding m_encoding = FileEncoding::Utf16Be;
};

TEST_F(HostFile, FilesThatTellNoSizeAreReadWhole)
{
    const WString path = "/proc/self/maps"_w;
    EXPECT_EQ(File::GetSize(path), 0u);
    const WString text = Text(path);
    EXPECT_GT(text.size(), 4096u);
    EXPECT_NE(text.find("[stack]"_w), WString::npos);
    EXPECT_EQ(m_encoding, FileEncoding::Utf8NoBom);
    const Lines lines = File::ReadAllLines(path);
    EXPECT_GE(lines.size() + 5, static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    EXPECT_TRUE(File::ReadAllBytes(path).empty());
    EXPECT_EQ(File::ReadBytes("/proc/self/status"_w, 0, 5), (std::vector<std::uint8_t>{'N', 'a', 'm', 'e', ':'}));
}

TEST_F(HostFile, NothingWaitsForPipesAndDevices)
{
    ASSERT_EQ(mkfifo(Native(m_path).c_str(), 0666), 0);
    for (const WString& path : {m_path, WString("/dev/zero"_w)})
    {
        EXPECT_EQ(FileCode("Cannot open the file: ", [&] { Text(path); }), 5u);
        EXPECT_EQ(FileCode("Cannot open the file: ", [&] { File::WriteAllText(path, "x"_w, m_encoding); }), 5u);
        EXPECT_EQ(FileCode("CreateFile failed.: ", [&] { File::ReadAllBytes(path); }), 5u);
        EXPECT_TRUE(File::ReadAllLines(path).empty());
        EXPECT_FALSE(File::IsLocked(path));
    }
    EXPECT_EQ(Text("/dev/null"_w), ""_w);
    File::WriteAllText("/dev/null"_w, "x"_w, FileEncoding::Utf8Bom);
}

TEST_F(HostFile, LinksAreFollowed)
{
    std::filesystem::create_symlink("file", Native(m_link));
    EXPECT_FALSE(File::ItemExists(m_link));
    EXPECT_EQ(FileCode("File does not exist: ", [&] { Text(m_link); }), 2u);
    File::WriteAllText(m_link, "text"_w, FileEncoding::Utf8NoBom);
    EXPECT_EQ(TakeBytes(m_path), "text");
    EXPECT_EQ(Text(m_link), "text"_w);
    EXPECT_EQ(PlatformCode("Failed to create empty file!: ", [&] { File::CreateNewEmptyFile(m_link); }), 80u);
    File::Delete(m_link);
    EXPECT_FALSE(std::filesystem::is_symlink(Native(m_link)));
    EXPECT_TRUE(File::Exists(m_path));

    std::filesystem::create_symlink("link", Native(m_link));
    EXPECT_FALSE(File::ItemExists(m_link));
    EXPECT_EQ(FileCode("CreateFile failed.: ", [&] { File::ReadAllBytes(m_link); }),
              DWORD{ERROR_CANT_RESOLVE_FILENAME});
    EXPECT_FALSE(File::IsLocked(m_link));
}

TEST_F(HostFile, TheProbeOfAFolderFollowsNoLink)
{
    const auto now = static_cast<std::uint64_t>(std::time(nullptr));
    for (std::uint64_t seed = now; seed < now + 5; ++seed)
    {
        const WString name = File::GenerateNewFileName(m_folder.Path(), ".tmp"_w, 8, seed);
        std::filesystem::create_symlink(Native(m_path), Native(name));
    }
    EXPECT_TRUE(File::IsCreatePermissonAvailable(m_folder.Path()));
    EXPECT_FALSE(File::ItemExists(m_path)) << "where the links lead";
}

TEST_F(HostFile, NamesMayHoldAnyBytes)
{
    for (const char* name : {"\xFF\xFE", "a\\b", "caf\xE9", "\xED\xA0\x80"})
    {
        const WString path = m_folder / name;
        File::WriteAllText(path, "x"_w, FileEncoding::Utf8NoBom);
        EXPECT_TRUE(std::filesystem::exists(Native(m_folder.Path()) / name));
        EXPECT_TRUE(File::Exists(path));
        EXPECT_EQ(Text(path), "x"_w);
        EXPECT_EQ(File::GetSize(path), 1u);
        File::Delete(path);
        EXPECT_FALSE(std::filesystem::exists(Native(m_folder.Path()) / name));
        EXPECT_EQ(FileCode("CreateFile failed.: ", [&] { File::ReadAllBytes(path); }), 2u);
    }
}

TEST_F(HostFile, AFileMayShrinkAndGrowMeanwhile)
{
    constexpr std::size_t size = 1'000'000;
    PutBytes(m_path, std::string(size, 'a'));
    std::jthread changer([&](const std::stop_token& stop) {
        for (bool small = true; !stop.stop_requested(); small = !small)
        {
            std::filesystem::resize_file(Native(m_path), small ? 1000 : size);
        }
    });
    for (int i = 0; i < 300; ++i)
    {
        const WString text = Text(m_path);
        EXPECT_LE(text.size(), size);
        EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](auto unit) { return unit == 'a' || unit == 0; }));
        try
        {
            const std::size_t read = File::ReadAllBytes(m_path).size();
            EXPECT_TRUE(read == 1000 || read == size) << read;
        }
        catch (const FileSystemException& exception)
        {
            EXPECT_EQ(exception.code().value(), ERROR_HANDLE_EOF);
        }
    }
}

} // namespace
