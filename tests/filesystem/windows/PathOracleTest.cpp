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
    // With blanks between them; there is an empty one in front.
    const WStringView paths = R"( a C: C:\ C:a C:\.. C:\..\a C:\a\.. C:\a\..\ C:\a\.\ C:\a.\b C:\a..\b C:\a\.b)"
                              R"( C:\a\..\..\b C:\a\b\..\..\c a\..\b a\b\.. a\b\..\..\c .\a a\.\b \ \a \..\a \a\..\b)"
                              R"( \\ \\s \\s\.. \\s\sh\..\x \\s\sh\a\..\..\..\b \\?\C:\a\..\b \\?\UNC\s\h\..\x)"
                              R"( \\.\pipe\..\x C:/a/../b C:\a\\b C:\a\\..\b C:\a\b\ 1:\..\x C:\\..\a C:a\..\b)"
                              R"( \\s\\x\..)"_w;
    for (std::size_t begin = 0, end = 0; end != WStringView::npos; begin = end + 1)
    {
        end = paths.find(' ', begin);
        const WString path(paths.substr(begin, end - begin));
        WChar expected[1024] = {};
        ASSERT_TRUE(canonicalize(expected, path.c_str()));
        EXPECT_EQ(Path::MakeCanonical(path), expected) << StringUtilities::TruncateToAscii(path);
    }
}

} // namespace

} // namespace Quoll::Utilities
