#include "Quoll/Path.h"

#include "Quoll/Errors.h"
#include "Quoll/NativePath.h"
#include "Quoll/StringUtilities.h"
#include "support/TemporaryDirectory.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

using namespace Quoll::Literals;

// For messages: gtest doesn't print 16-bit text.
std::string Shown(WStringView text)
{
    return StringUtilities::TruncateToAscii(WString(text));
}

struct Row
{
    WideLiteral path;
    WideLiteral expected;
};

template<class Operation, std::size_t Count>
void ExpectAll(Operation operation, const Row (&rows)[Count])
{
    for (const Row& row : rows)
    {
        const WString result = operation(row.path);
        EXPECT_EQ(result, row.expected) << Shown(row.path) << " gave " << Shown(result);
    }
}

TEST(Path, CombinesWithOneBackslash)
{
    const struct
    {
        WideLiteral left;
        WideLiteral right;
        WideLiteral expected;
    } rows[] = {
        {""_w, ""_w, ""_w},
        {"a"_w, ""_w, "a"_w},
        {""_w, "\\b"_w, "\\b"_w},
        {"C:"_w, "x"_w, "C:\\x"_w},
        {"C:\\a\\"_w, "\\b"_w, "C:\\a\\b"_w},
        {"C:\\a\\"_w, "\\\\b"_w, "C:\\a\\\\b"_w},
        {"C:\\a\\\\"_w, "b"_w, "C:\\a\\\\b"_w},
        {"C:\\a/"_w, "b"_w, "C:\\a/\\b"_w},
        {"C:\\a"_w, "/b"_w, "C:\\a\\/b"_w},
        {"a"_w, "\\b"_w, "a\\b"_w},
        {"a"_w, "C:\\b"_w, "a\\C:\\b"_w},
        {"\\"_w, "\\"_w, "\\"_w},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Path::Combine(row.left, row.right), row.expected) << Shown(row.left) << " and " << Shown(row.right);
    }
}

TEST(Path, AddsABackslashToPathsWithoutOne)
{
    constexpr Row rows[] = {{""_w, ""_w}, {"a"_w, "a\\"_w}, {"a\\"_w, "a\\"_w}, {"a/"_w, "a/\\"_w}};
    ExpectAll(
        [](WString path) {
            Path::AddBackslash(path);
            return path;
        },
        rows);
}

TEST(Path, TakesPathsApart)
{
    const struct
    {
        WideLiteral path;
        WideLiteral directory;
        WideLiteral fileName;
        WideLiteral stem; // and what follows it is the extension
    } rows[] = {
        {""_w, ""_w, ""_w, ""_w},
        {"name"_w, ""_w, "name"_w, "name"_w},
        {"C:\\"_w, "C:"_w, ""_w, "C:\\"_w},
        {"\\x"_w, ""_w, "x"_w, "\\x"_w},
        {"C:\\a\\b.txt"_w, "C:\\a"_w, "b.txt"_w, "C:\\a\\b"_w},
        {"C:\\a\\b\\"_w, "C:\\a\\b"_w, ""_w, "C:\\a\\b\\"_w},
        {"C:\\a/b.c"_w, "C:"_w, "b.c"_w, "C:\\a/b"_w},
        {"C:/a.b/c"_w, ""_w, "c"_w, "C:/a"_w},
        {"C:\\a.b\\c"_w, "C:\\a.b"_w, "c"_w, "C:\\a.b\\c"_w},
        {"a/b\\c/d"_w, "a/b"_w, "d"_w, "a/b\\c/d"_w},
        {"x.tar.gz"_w, ""_w, "x.tar.gz"_w, "x.tar"_w},
        {"x."_w, ""_w, "x."_w, "x"_w},
        {".hidden"_w, ""_w, ".hidden"_w, ""_w},
        {"a\\.b"_w, "a"_w, ".b"_w, "a\\"_w},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Path::GetDirectory(row.path), row.directory) << Shown(row.path);
        EXPECT_EQ(Path::GetFileName(row.path), row.fileName) << Shown(row.path);
        EXPECT_EQ(Path::RemoveExtension(row.path), row.stem) << Shown(row.path);
        EXPECT_EQ(Path::GetExtension(row.path), row.path.substr(row.stem.size())) << Shown(row.path);
    }
}

TEST(Path, InsertsBeforeTheExtension)
{
    EXPECT_EQ(Path::InsertBeforeExtension("log.txt"_w, '_', 3), "log_3.txt"_w);
    EXPECT_EQ(Path::InsertBeforeExtension("C:\\a.b\\log"_w, '-', "old"_w), "C:\\a.b\\log-old"_w);
    EXPECT_EQ(Path::InsertBeforeExtension(""_w, '_', ""_w), "_"_w);
    EXPECT_EQ(Path::InsertBeforeExtension("a."_w, '_', std::numeric_limits<std::int32_t>::min()), "a_-2147483648."_w);
    EXPECT_EQ(Path::InsertBeforeExtension("a.b"_w, '.', 0), "a.0.b"_w);
}

TEST(Path, KnowsTheKindOfAPath)
{
    const struct
    {
        WideLiteral path;
        bool isAbsolute;
        bool isLocal;
        bool isLocalRoot;
        bool isUncRoot;
    } rows[] = {
        {""_w, false, false, false, false},
        {":"_w, false, false, false, false},
        {"C:"_w, false, true, true, false},
        {"C:\\"_w, true, true, true, false},
        {"C:/"_w, true, true, true, false},
        {"C:x"_w, false, false, false, false},
        {"C:foo"_w, false, false, false, false},
        {"C:/x"_w, true, true, false, false},
        {"1:\\x"_w, true, true, false, false},
        {"\\\\"_w, false, false, false, false},
        {"\\\\x"_w, true, false, false, false},
        {"//x"_w, false, false, false, false},
        {"\\x"_w, false, false, false, false},
        {"\\\\server\\share"_w, true, false, false, true},
        {"\\\\server\\share\\"_w, true, false, false, true},
        {"\\\\server\\"_w, true, false, false, true},
        {"\\\\server"_w, true, false, false, false},
        {"\\\\server\\share\\x"_w, true, false, false, false},
        {"\\\\server\\share\\\\"_w, true, false, false, false},
        {"\\\\\\share\\"_w, true, false, false, false},
        {"\\\\s\\"_w, true, false, false, false},
        {"\\\\s\\x"_w, true, false, false, true},
        {"//server/share"_w, false, false, false, false},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Path::IsAbsolutePath(row.path), row.isAbsolute) << Shown(row.path);
        EXPECT_EQ(Path::IsLocalPath(row.path), row.isLocal) << Shown(row.path);
        EXPECT_EQ(Path::IsLocalRootPath(row.path), row.isLocalRoot) << Shown(row.path);
        EXPECT_EQ(Path::IsUNCRootPath(row.path), row.isUncRoot) << Shown(row.path);
        EXPECT_EQ(Path::IsRootPath(row.path), row.isLocalRoot || row.isUncRoot) << Shown(row.path);
    }
}

TEST(Path, RemovesTheIdentifierOfLongPathsFromDrives)
{
    constexpr Row rows[] = {
        {""_w, ""_w},
        {"\\\\?"_w, "\\\\?"_w},
        {"\\\\?\\C:\\x"_w, "C:\\x"_w},
        {"\\\\?\\C:"_w, "C:"_w},
        {"\\\\?\\UNC\\s\\h"_w, "\\\\?\\UNC\\s\\h"_w},
        {"x\\\\?\\C:\\y"_w, "x\\\\?\\C:\\y"_w},
        {"\\\\?\\\\\\?\\C:"_w, "\\\\?\\\\\\?\\C:"_w},
    };
    ExpectAll(Path::RemoveLongPathIdentifier, rows);
    for (const WideLiteral path : {"\\\\?\\"_w, "\\\\?\\C"_w})
    {
        try
        {
            Path::RemoveLongPathIdentifier(path);
            FAIL() << Shown(path);
        }
        catch (const std::out_of_range& error)
        {
            EXPECT_STREQ(error.what(), "invalid string position");
        }
    }
}

TEST(Path, FindsTheDrive)
{
    constexpr Row rows[] = {{"C:\\x"_w, "C:"_w}, {"C:relative"_w, "C:"_w}, {"c:"_w, "c:"_w}, {"1:x"_w, "1:"_w}};
    ExpectAll(Path::GetDrive, rows);
    for (const WideLiteral path : {""_w, "C"_w, ":"_w, "\\\\server\\share"_w, "\\\\?\\C:\\x"_w, "a\\b"_w, "\0:"_w})
    {
        try
        {
            Path::GetDrive(path);
            FAIL() << Shown(path);
        }
        catch (const FileSystemException& error)
        {
            EXPECT_TRUE(std::string(error.what()).starts_with("Unable to get drive")) << error.what();
        }
    }
}

TEST(Path, MakesPathsCanonical)
{
    constexpr Row rows[] = {
        {""_w, "\\"_w},
        {"."_w, "\\"_w},
        {".."_w, "\\"_w},
        {"..."_w, "\\"_w},
        {"a.."_w, "a"_w},
        {"*..."_w, "*."_w},
        {"a*b.."_w, "a*b"_w},
        {"C:"_w, "C:\\"_w},
        {"C:.."_w, "C:\\"_w},
        {"C:\\."_w, "C:\\"_w},
        {"C:\\..\\a"_w, "C:\\a"_w},
        {"C:\\a\\..\\"_w, "C:\\"_w},
        {"C:\\a\\."_w, "C:\\a"_w},
        {"C:\\a\\.\\"_w, "C:\\a\\"_w},
        {"C:\\a.\\b.."_w, "C:\\a.\\b"_w},
        {"C:\\a\\..b\\.c"_w, "C:\\a\\..b\\.c"_w},
        {"C:\\a\\...\\b"_w, "C:\\a\\...\\b"_w},
        {"C:\\a\\b\\..\\..\\..\\c"_w, "C:\\c"_w},
        {"C:\\a\\\\..\\b"_w, "C:\\a\\b"_w},
        {"C:/a/../b"_w, "C:/a/../b"_w},
        {"a\\.."_w, "\\"_w},
        {"a\\..\\b"_w, "\\b"_w},
        {"a\\b\\.."_w, "a"_w},
        {"..\\a"_w, "a"_w},
        {".\\\\\\..\\a"_w, "\\a"_w},
        {".\\a"_w, "a"_w},
        {"\\.."_w, "\\"_w},
        {"\\a\\..\\..\\b"_w, "\\b"_w},
        {"\\\\s\\sh\\..\\x"_w, "\\\\s\\x"_w},
        {"\\\\s\\sh\\a\\..\\..\\..\\b"_w, "\\\\s\\b"_w},
        {"\\\\.."_w, "\\\\"_w},
        {"\\\\?\\C:\\a\\..\\..\\b"_w, "\\\\?\\C:\\b"_w},
        {"\\\\?\\C:\\.."_w, "\\\\?\\C:\\"_w},
        {"\\\\?\\UNC\\s\\sh\\..\\..\\x"_w, "\\\\?\\UNC\\s\\x"_w},
        {"\\\\?\\Volume{1}\\..\\x"_w, "\\\\?\\Volume{1}\\x"_w},
        {"C:\\a\\..\\b\0\\..\\c"_w, "C:\\b"_w},
    };
    ExpectAll(Path::MakeCanonical, rows);
    const WString longest = WString("C:\\"_w).append(256, 'a');
    EXPECT_EQ(Path::MakeCanonical(longest), longest);
    EXPECT_TRUE(Path::MakeCanonical(longest + "\\.."_w).empty());
}

// The message and the code of the exception that the operation throws, ERROR_BUSY where no call fails.
template<class Operation>
std::string Refusal(Operation operation, const WString& path)
{
    SetLastError(ERROR_BUSY);
    try
    {
        operation(path);
        return "none";
    }
    catch (const FileSystemException& error)
    {
        const std::string text = error.what();
        return text.substr(0, text.find(": ")) + " " + std::to_string(error.code().value());
    }
}

TEST(Path, ConvertsNamesOfTheKernel)
{
    const WString native = Path::ConvertToNTPath("C:\\a:\\b"_w);
    EXPECT_TRUE(native.starts_with("\\Device\\"_w));
    EXPECT_TRUE(native.ends_with("\\a:\\b"_w));
    EXPECT_EQ(native.find(WChar{0}), WString::npos);
    EXPECT_EQ(Path::NormalizeNTPath(native), "C:\\a:\\b"_w);
    const WString device = Path::ConvertToNTPath("C:"_w);
    EXPECT_EQ(Path::NormalizeNTPath(device + "\\"_w), "C:"_w);
    EXPECT_EQ(Path::NormalizeNTPath(device + "\\\\x"_w), "C:\\x"_w);
    EXPECT_TRUE(Path::ConvertToNTPath(""_w).empty() && Path::NormalizeNTPath(""_w).empty());
}

TEST(Path, RefusesNamesThatTheKernelDoesNotHave)
{
    for (const WideLiteral path : {"x"_w, ":"_w, ":x"_w, "\\a\\b"_w})
    {
        EXPECT_EQ(Refusal(Path::ConvertToNTPath, path), "Can't convert NT path. Invalid path 170") << Shown(path);
    }
    EXPECT_EQ(Refusal(Path::ConvertToNTPath, "none:\\x"_w), "Could not get size of nt path 2");
    for (const WideLiteral path : {"x"_w, "\\"_w, "\\Device\\Volume"_w})
    {
        EXPECT_EQ(Refusal(Path::NormalizeNTPath, path), "Can't normalize NT path. Can't find third slash 170");
    }
    const WString upper = StringUtilities::ToUpper(Path::ConvertToNTPath("C:\\x"_w));
    for (const WString& path : {upper, WString("\\a\\b\\c"_w), WString("\\\\\\"_w)})
    {
        EXPECT_TRUE(Refusal(Path::NormalizeNTPath, path).starts_with("Can't resolve NT path")) << Shown(path);
    }
}

TEST(Path, FindsTheFilesOfModules)
{
    const WString program = Path::GetModuleFullPath(false);
    EXPECT_EQ(Path::GetModuleFullPath(nullptr), program);
    EXPECT_TRUE(Path::IsAbsolutePath(program));
    EXPECT_EQ(Path::RemoveExtension(Path::GetProcessName()), "quoll_tests"_w);
    EXPECT_EQ(Path::GetModuleDirectory(), Path::GetDirectory(program)); // the tests hold the library's code
    EXPECT_EQ(Path::Combine(Path::GetModuleDirectory(), Path::GetProcessName()), program);
    try
    {
        int onStack = 0;
        Path::GetModuleFullPath(reinterpret_cast<HMODULE>(&onStack));
        FAIL();
    }
    catch (const Win32Exception& error)
    {
        EXPECT_EQ(error.GetErrorCode(), 126u);
        EXPECT_TRUE(std::string(error.what()).starts_with("Can't get full path: "));
    }
}

TEST(Path, MakesFullPathsFromTheLibrarysFolder)
{
    EXPECT_EQ(Path::MakeFullPath("C:\\x"_w), "C:\\x"_w);
    EXPECT_EQ(Path::MakeFullPath("\\\\x"_w), "\\\\x"_w);
    EXPECT_EQ(Path::MakeFullPath(""_w), Path::GetModuleDirectory());
    EXPECT_EQ(Path::MakeFullPath("C:x"_w), Path::GetModuleDirectory() + "\\C:x"_w);
    EXPECT_TRUE(Path::IsAbsolutePath(Path::GetSystemRootDirectory()));
}

TEST(Path, RefusesWhatIsMissing)
{
    const Tests::TemporaryDirectory folder;
    const WString path = NativePath::FromNative(folder.Path());
    EXPECT_EQ(Path::ExpandPath(Path::ShortenPath(path)), path);
    const WString file = path + "\\x"_w;
    EXPECT_EQ(Refusal(Path::ExpandPath, file), "GetLongPathName 2");
    EXPECT_EQ(Refusal(Path::ShortenPath, file), "GetShortPathName 2");
    const auto refusal = [&](auto change, std::uint32_t mask) {
        return Refusal([&](const WString& name) { change(name, mask); }, file);
    };
    EXPECT_EQ(refusal(Path::SetAttributes, 1), "SetFileAttributes failed 2");
    EXPECT_EQ(refusal(Path::SetAttribute, 0), "SetFileAttributes failed 2");
    EXPECT_EQ(refusal(Path::SetAttribute, 1), "none");
    EXPECT_EQ(refusal(Path::RemoveAttribute, 1), "none");
    EXPECT_EQ(Path::GetAttributes(file), 0xFFFFFFFF);
}

TEST(Path, ChangesAttributes)
{
    const Tests::TemporaryDirectory folder;
    std::ofstream(folder.Path() / "file") << "content";
    const WString file = NativePath::FromNative(folder.Path() / "file");
    const std::uint32_t before = Path::GetAttributes(file);
    EXPECT_EQ(before & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY), 0u);
    Path::SetReadOnlyAttribute(file);
    EXPECT_EQ(Path::GetAttributes(file), before | FILE_ATTRIBUTE_READONLY);
    Path::SetAttribute(file, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN); // as one of them is set
    EXPECT_EQ(Path::GetAttributes(file), before | FILE_ATTRIBUTE_READONLY);
    Path::RemoveAttribute(file, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(Path::GetAttributes(file), before);
    Path::SetAttributes(file, before | FILE_ATTRIBUTE_READONLY);
    Path::RemoveReadOnlyAttribute(file);
    EXPECT_EQ(Path::GetAttributes(file), before);
}

} // namespace

} // namespace Quoll::Utilities
