// Unique identifiers.
#include <windows.h>

#include <rpc.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(UuidTest, TextIsInLowerCaseWithoutBraces)
{
    UUID identifier{0x0A1B2C3D, 0x4E5F, 0x00AB, {0xCD, 0xEF, 0x00, 0x01, 0x23, 0x45, 0x67, 0x89}};
    RPC_WSTR text = nullptr;
    ASSERT_EQ(UuidToStringW(&identifier, &text), RPC_S_OK);
    const std::basic_string<WCHAR> units(reinterpret_cast<const WCHAR*>(text));
    EXPECT_EQ(std::string(units.begin(), units.end()), "0a1b2c3d-4e5f-00ab-cdef-000123456789");
    EXPECT_EQ(RpcStringFreeW(&text), RPC_S_OK);
}

TEST(UuidTest, NewIdentifiersAreOfVersion4)
{
    UUID first{};
    UUID second{};
    EXPECT_EQ(UuidCreate(&first), RPC_S_OK);
    EXPECT_EQ(UuidCreate(&second), RPC_S_OK);
    EXPECT_NE(std::memcmp(&first, &second, sizeof(UUID)), 0);
    EXPECT_EQ(first.Data3 >> 12, 4);
    EXPECT_EQ(first.Data4[0] >> 6, 2);
}
