// Names of devices, of the system's folder, and the forms of a path.
#include "Quoll/NativePath.h"
#include "Quoll/WideString.h"
#include "support/CodeOf.h"
#include "support/TemporaryDirectory.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>

namespace Quoll::Tests
{

using namespace Quoll::Literals;

namespace
{

constexpr DWORD k_someError = 77;

TEST(DeviceContract, ADriveHasAMappingThatEndsInTwoNuls)
{
    WChar mapping[260];
    SetLastError(k_someError);
    const DWORD count = QueryDosDeviceW("C:"_w, mapping, 260);
    EXPECT_EQ(GetLastError(), k_someError);
    const WString text = mapping;
    ASSERT_EQ(count, text.size() + 2);
    EXPECT_EQ(mapping[count - 1], 0);
    EXPECT_TRUE(text.starts_with("\\Device\\"_w));
    EXPECT_EQ(QueryDosDeviceW("c:"_w, mapping, count), count);
    EXPECT_EQ(mapping, text);

    for (const DWORD capacity : {DWORD{0}, DWORD{1}, count - 1})
    {
        SetLastError(k_someError);
        EXPECT_EQ(CodeOf(QueryDosDeviceW("C:"_w, mapping, capacity) != 0u), DWORD{ERROR_INSUFFICIENT_BUFFER})
            << capacity;
    }
    for (const WideLiteral name : {"C"_w, ":"_w, "CC:"_w})
    {
        EXPECT_EQ(CodeOf(QueryDosDeviceW(name.data(), mapping, 260) != 0u), DWORD{ERROR_FILE_NOT_FOUND});
    }
}

TEST(DeviceContract, NullAsksForAllNames)
{
    WString names(65536, 0);
    const DWORD count = QueryDosDeviceW(nullptr, names.data(), static_cast<DWORD>(names.size()));
    ASSERT_GT(count, 2u);
    names.resize(count);
    EXPECT_NE((WString(1, 0) + names).find(WString("\0C:\0"_w)), WString::npos);
    EXPECT_TRUE(names.ends_with("\0\0"_w));
    EXPECT_EQ(CodeOf(QueryDosDeviceW(nullptr, names.data(), 1) != 0u), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(FolderContract, ASmallBufferIsLeftAloneAndTheNeededCapacityTold)
{
    WChar path[260];
    SetLastError(k_someError);
    const UINT length = GetWindowsDirectoryW(path, 260);
    EXPECT_EQ(length, WStringView(path).size());
    EXPECT_TRUE(WStringView(path).starts_with("C:\\"_w));
    path[0] = 'x';
    EXPECT_EQ(GetWindowsDirectoryW(path, length), length + 1);
    EXPECT_EQ(GetWindowsDirectoryW(nullptr, 0), length + 1);
    EXPECT_EQ(path[0], 'x');
    EXPECT_EQ(GetWindowsDirectoryW(path, length + 1), length);
    EXPECT_EQ(GetLastError(), k_someError);
}

TEST(PathFormContract, FormsOfAnExistingFile)
{
    const TemporaryDirectory folder;
    std::ofstream(folder.Path() / "a name that is long.text") << "content";
    const WString path = Utilities::NativePath::FromNative(folder.Path() / "a name that is long.text");
    for (const auto call : {GetLongPathNameW, GetShortPathNameW})
    {
        SetLastError(k_someError);
        const DWORD needed = call(path.c_str(), nullptr, 0);
        ASSERT_GT(needed, 4u);
        WString form(needed, 'x');
        EXPECT_EQ(call(path.c_str(), form.data(), needed - 1), needed);
        EXPECT_EQ(form, WString(needed, 'x'));
        ASSERT_EQ(call(path.c_str(), form.data(), needed), needed - 1);
        EXPECT_EQ(GetLastError(), k_someError);
        EXPECT_EQ(form.find(WChar{0}), needed - 1);
        EXPECT_NE(GetFileAttributesW(form.c_str()), INVALID_FILE_ATTRIBUTES);
        if (call == GetLongPathNameW)
        {
            EXPECT_EQ(form.c_str(), path);
        }
    }
}

TEST(PathFormContract, NoNameHasNone)
{
    for (const auto call : {GetLongPathNameW, GetShortPathNameW})
    {
        EXPECT_EQ(CodeOf(call(nullptr, nullptr, 0) != 0u), DWORD{ERROR_INVALID_PARAMETER});
    }
    EXPECT_EQ(CodeOf(GetLongPathNameW(""_w, nullptr, 0) != 0u), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(CodeOf(GetShortPathNameW(""_w, nullptr, 0) != 0u), DWORD{ERROR_BAD_PATHNAME});
}

} // namespace

} // namespace Quoll::Tests
