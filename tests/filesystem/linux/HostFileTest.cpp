// What a host's file system has beyond plain files.
#include "Quoll/Errors.h"
#include "Quoll/File.h"
#include "filesystem/FileSupport.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
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
