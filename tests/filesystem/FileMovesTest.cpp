#include "Quoll/Errors.h"
#include "Quoll/File.h"
#include "Quoll/Path.h"
#include "filesystem/FileSupport.h"
#include "support/ForcedFailure.h"
#include "support/LogCapture.h"
#include "support/MessageOf.h"
#include "support/VersionedImage.h"
#include "support/WrappedCall.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

namespace
{

using namespace Quoll::Literals;
using namespace Quoll::Tests;
using namespace Quoll::Utilities;
using Quoll::WString;

class FileMoves : public testing::Test
{
protected:
    FileMoves()
    {
        PutBytes(m_source, "content");
    }

    TestFolder m_folder;
    WString m_source = m_folder / "source.txt";
    WString m_target = m_folder / "target.txt";
};

TEST_F(FileMoves, CopiesAndMovesOrNamesBothPaths)
{
    File::Copy(m_source, m_target, false);
    EXPECT_EQ(TakeBytes(m_target), "content");
    PutBytes(m_source, "new");
    const std::tuple<std::string, std::function<void()>, int> refusals[] = {
        {"CopyFile failed.: ", [&] { File::Copy(m_source, m_target, false); }, ERROR_FILE_EXISTS},
        {"MoveFile failed.: ", [&] { File::Move(m_source, m_target, 0); }, ERROR_ALREADY_EXISTS},
        // No known flag, and yet the call with flags.
        {"MoveFileEx failed.: ", [&] { File::Move(m_source, m_target, 0x40); }, ERROR_ALREADY_EXISTS}};
    for (const auto& [message, action, code] : refusals)
    {
        try
        {
            action();
            ADD_FAILURE() << message;
        }
        catch (const FileSystemException& exception)
        {
            EXPECT_TRUE(std::string_view(exception.what()).starts_with(message)) << exception.what();
            EXPECT_EQ(exception.code().value(), code);
            EXPECT_EQ(exception.path1(), NativePath::ToNative(m_source));
            EXPECT_EQ(exception.path2(), NativePath::ToNative(m_target));
        }
    }
    EXPECT_EQ(TakeBytes(m_target), "content");
    File::Copy(m_source, m_target, true);
    EXPECT_EQ(TakeBytes(m_target), "new");
    File::Move(m_target, m_source, MOVEFILE_REPLACE_EXISTING | 0x40);
    EXPECT_FALSE(File::Exists(m_target));
    File::Move(m_source, m_target, 0);
    EXPECT_EQ(TakeBytes(m_target), "new");
}

TEST_F(FileMoves, CopyingAtTheNextStartIsRefused)
{
    for (const std::uint32_t flags : {6u, 15u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(MessageOf<std::runtime_error>([&] { File::Move(m_source, m_target, flags); }),
                  "Delay until reboot can't be used in combination with copy allowed.");
        EXPECT_EQ(TakeBytes(m_source), "content");
    }
}

// What would reach the platform, while somebody looks.
struct PassedMove
{
    DWORD flags;
    bool hasTarget;

    bool operator==(const PassedMove&) const = default;
};
std::vector<PassedMove>* passedMoves = nullptr;

} // namespace

WRAPPED_CALL(BOOL, MoveFileExW, (LPCWSTR source, LPCWSTR target, DWORD flags))
{
    if (passedMoves == nullptr)
    {
        return REAL_CALL(MoveFileExW)(source, target, flags);
    }
    passedMoves->push_back({flags, target != nullptr});
    return TRUE;
}

namespace
{

TEST_F(FileMoves, OnlyKnownFlagsReachThePlatform)
{
    std::vector<PassedMove> passed;
    passedMoves = &passed;
    DebugOutputCapture trace;
    File::Move(m_source, m_target, 4);
    EXPECT_TRUE(trace.Lines().empty());
    File::Move(m_source, m_target, 12);
    EXPECT_EQ(trace.Lines().size(), 1u);
    File::Move(m_source, {}, 4);
    File::Move(m_source, m_target, 0xFFFFFFFB);
    passedMoves = nullptr;
    EXPECT_EQ(passed, (std::vector<PassedMove>{{4, true}, {4, true}, {4, false}, {0x3B, true}}));
}

TEST_F(FileMoves, TemporaryFiles)
{
    const WString name = File::GetTempFileNameW();
    EXPECT_TRUE(File::Exists(name));
    EXPECT_EQ(Path::GetExtension(name), ".tmp"_w);
    File::Delete(name);
    const ForcedFailure pathFailure(ForcedCall::GetTempPathW, ERROR_ACCESS_DENIED); // once
    EXPECT_EQ(PlatformCode("GetTempPath failed.: ", [] { File::GetTempFileNameW(); }), 5u);
    const ForcedFailure nameFailure(ForcedCall::GetTempFileNameW, ERROR_FILE_EXISTS);
    EXPECT_EQ(PlatformCode("GetTempFileName failed.: ", [] { File::GetTempFileNameW(); }), 80u);
}

TEST_F(FileMoves, Versions)
{
    PutBytes(m_target, MakeImage(MakeVersionTree()));
    EXPECT_EQ(File::GetVersionString(m_target), "1.2.3.4"_w);
    EXPECT_EQ(File::GetVersion(m_target), Version(1, 2, 3, 4));
    EXPECT_EQ(PlatformCode("GetFileVersionInfo failed: ", [&] { File::GetVersionString(m_source); }),
              DWORD{ERROR_RESOURCE_DATA_NOT_FOUND});
    std::string tree = MakeVersionTree();
    tree[2] = 0; // the length of the fixed part
    PutBytes(m_target, MakeImage(tree));
    EXPECT_NE(PlatformCode("VerQueryValueW failed: ", [&] { File::GetVersion(m_target); }), 0u);
}

TEST_F(FileMoves, Modules)
{
    const WString program = Path::GetModuleFullPath(false);
    EXPECT_EQ(File::GetFileNameOfModule(), program);
    static const int inside = 0;
    EXPECT_EQ(File::GetFileNameOfModule(&inside), program);
    const ForcedFailure failure(ForcedCall::VirtualQueryEx, ERROR_ACCESS_DENIED);
    EXPECT_EQ(PlatformCode("VirtualQueryEx failed!: ", [] { File::GetFileNameOfModule(&inside); }), 5u);
}

} // namespace
