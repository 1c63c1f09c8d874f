// Names of devices and of the system's folder.
#include "Quoll/WideString.h"

#include <windows.h>

#include <gtest/gtest.h>

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
        EXPECT_EQ(QueryDosDeviceW("C:"_w, mapping, capacity), 0u);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER}) << capacity;
    }
}

TEST(DeviceContract, UnknownDevicesAreNotFound)
{
    WChar mapping[260];
    for (const WideLiteral name : {"no such device:"_w, "C"_w, ":"_w, "CC:"_w})
    {
        EXPECT_EQ(QueryDosDeviceW(name.data(), mapping, 260), 0u);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
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
    EXPECT_EQ(QueryDosDeviceW(nullptr, names.data(), 1), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
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

} // namespace

} // namespace Quoll::Tests
