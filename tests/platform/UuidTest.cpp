// Unique identifiers.
#include <windows.h>

#include <rpc.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

std::string ToText(UUID& identifier)
{
    RPC_WSTR text = nullptr;
    EXPECT_EQ(UuidToStringW(&identifier, &text), RPC_S_OK);
    const auto* const units = reinterpret_cast<const WCHAR*>(text);
    std::string bytes;
    for (std::size_t i = 0; units[i] != 0; ++i)
    {
        bytes += static_cast<char>(units[i]);
    }
    EXPECT_EQ(RpcStringFreeW(&text), RPC_S_OK);
    return bytes;
}

} // namespace

TEST(UuidTest, TextIsInLowerCaseWithoutBraces)
{
    UUID identifier{0x0A1B2C3D, 0x4E5F, 0x00AB, {0xCD, 0xEF, 0x00, 0x01, 0x23, 0x45, 0x67, 0x89}};
    EXPECT_EQ(ToText(identifier), "0a1b2c3d-4e5f-00ab-cdef-000123456789");
    UUID nil{};
    EXPECT_EQ(ToText(nil), "00000000-0000-0000-0000-000000000000");
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
