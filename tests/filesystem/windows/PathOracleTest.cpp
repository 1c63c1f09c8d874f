// The rules of our own beside the system's calls, on paths for which all systems agree.
#include "Quoll/Path.h"

#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace Quoll::Utilities
{

namespace
{

using namespace Quoll::Literals;

WString DriveOfRuntime(const WString& path)
{
    WChar drive[3] = {};
    return _wsplitpath_s(path.c_str(), drive, std::size(drive), nullptr, 0, nullptr, 0, nullptr, 0) == 0 ? drive : L"";
}

WString DriveOfPath(const WString& path)
{
    try
    {
        return Path::GetDrive(path);
    }
    catch (const FileSystemException&)
    {
        return {};
    }
}

TEST(PathOracle, DrivesAreThoseOfTheRuntime)
{
    for (const WideLiteral path : {""_w, "C"_w, ":"_w, "C:"_w, "c:x"_w, "::"_w, "1:\\"_w, "\\:"_w, "/:x"_w, "ä:x"_w,
                                   "ab:x"_w, "\\\\server\\share"_w, "\\\\?\\C:\\x"_w, "a\\b:c"_w})
    {
        EXPECT_EQ(DriveOfPath(path), DriveOfRuntime(path)) << StringUtilities::TruncateToAscii(path);
    }
}

TEST(PathOracle, CanonicalPathsAreThoseOfTheShell)
{
    using Canonicalize = BOOL(WINAPI*)(LPWSTR, LPCWSTR);
    const HMODULE shell = LoadLibraryW(L"shlwapi.dll");
    const auto canonicalize =
        reinterpret_cast<Canonicalize>(reinterpret_cast<void (*)()>(GetProcAddress(shell, "PathCanonicalizeW")));
    ASSERT_NE(canonicalize, nullptr);
    for (const WideLiteral path : {""_w,
                                   "a"_w,
                                   "C:"_w,
                                   "C:\\"_w,
                                   "C:a"_w,
                                   "C:\\.."_w,
                                   "C:\\..\\a"_w,
                                   "C:\\a\\.."_w,
                                   "C:\\a\\..\\"_w,
                                   "C:\\a\\.\\"_w,
                                   "C:\\a.\\b"_w,
                                   "C:\\a..\\b"_w,
                                   "C:\\a\\.b"_w,
                                   "C:\\a\\..\\..\\b"_w,
                                   "C:\\a\\b\\..\\..\\c"_w,
                                   "a\\..\\b"_w,
                                   "a\\b\\.."_w,
                                   "a\\b\\..\\..\\c"_w,
                                   ".\\a"_w,
                                   "a\\.\\b"_w,
                                   "\\"_w,
                                   "\\a"_w,
                                   "\\..\\a"_w,
                                   "\\a\\..\\b"_w,
                                   "\\\\"_w,
                                   "\\\\s"_w,
                                   "\\\\s\\.."_w,
                                   "\\\\s\\sh\\..\\x"_w,
                                   "\\\\s\\sh\\a\\..\\..\\..\\b"_w,
                                   "\\\\?\\C:\\a\\..\\b"_w,
                                   "\\\\?\\UNC\\s\\h\\..\\x"_w,
                                   "\\\\.\\pipe\\..\\x"_w,
                                   "C:/a/../b"_w,
                                   "C:\\a\\\\b"_w,
                                   "C:\\a\\\\..\\b"_w,
                                   "C:\\a\\b\\"_w,
                                   "1:\\..\\x"_w,
                                   "C:\\\\..\\a"_w,
                                   "C:a\\..\\b"_w,
                                   "\\\\s\\\\x\\.."_w})
    {
        WChar expected[1024] = {};
        ASSERT_TRUE(canonicalize(expected, path.data()));
        EXPECT_EQ(Path::MakeCanonical(path), expected) << StringUtilities::TruncateToAscii(path);
    }
}

} // namespace

} // namespace Quoll::Utilities
