// Unique identifiers, for Linux. As in the SDK, <windows.h> comes first.
#pragma once

#include "win32/types.h"

using RPC_STATUS = LONG;
using RPC_WSTR = unsigned short*; // the units are WCHARs

constexpr RPC_STATUS RPC_S_OK = 0;
constexpr RPC_STATUS RPC_S_OUT_OF_MEMORY = 14;
constexpr RPC_STATUS RPC_S_UUID_LOCAL_ONLY = 1824;
constexpr RPC_STATUS RPC_S_CALL_FAILED = 1726;

struct UUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};

extern "C"
{
    /// A random identifier of version 4. Fails with RPC_S_CALL_FAILED if the kernel gives no random bits.
    RPC_STATUS UuidCreate(UUID* identifier) noexcept;
    /// 36 characters in lower case, for RpcStringFreeW to free; RPC_S_OUT_OF_MEMORY.
    RPC_STATUS UuidToStringW(UUID* identifier, RPC_WSTR* text) noexcept;
    /// Makes the pointer null, as documented; Wine leaves it.
    RPC_STATUS RpcStringFreeW(RPC_WSTR* text) noexcept;
}
