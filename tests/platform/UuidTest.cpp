// Unique identifiers.
#include <windows.h>

#include <rpc.h>

#include <gtest/gtest.h>

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
