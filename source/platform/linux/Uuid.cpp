// Unique identifiers: random bits of the kernel's generator, taken anew for each, so that neither threads nor forked
// processes share any.
#include <windows.h>

#include <rpc.h>

#include <cerrno>
#include <cstdlib>

#include "core/Printf.h"

#include <sys/random.h>

RPC_STATUS UuidCreate(UUID* identifier) noexcept
{
    static_assert(sizeof(UUID) == 16);
    ssize_t count = 0;
    do
    {
        count = getrandom(identifier, sizeof(UUID), 0);
    } while (count < 0 && errno == EINTR); // until the generator is seeded
    if (count != sizeof(UUID))
    {
        return RPC_S_CALL_FAILED;
    }
    identifier->Data3 = static_cast<std::uint16_t>((identifier->Data3 & 0x0FFF) | 0x4000);
    identifier->Data4[0] = static_cast<std::uint8_t>((identifier->Data4[0] & 0x3F) | 0x80);
    return RPC_S_OK;
}

RPC_STATUS UuidToStringW(UUID* identifier, RPC_WSTR* text) noexcept
{
    using namespace Quoll::Literals;
    constexpr std::size_t size = 36 + 1;
    auto* const units = static_cast<WCHAR*>(std::malloc(size * sizeof(WCHAR)));
    if (units == nullptr)
    {
        return RPC_S_OUT_OF_MEMORY;
    }
    const UUID& value = *identifier;
    const std::uint8_t* const rest = value.Data4;
    Quoll::Utilities::Print(units, size, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x"_w, value.Data1, value.Data2,
                            value.Data3, rest[0], rest[1], rest[2], rest[3], rest[4], rest[5], rest[6], rest[7]);
    *text = reinterpret_cast<RPC_WSTR>(units);
    return RPC_S_OK;
}

RPC_STATUS RpcStringFreeW(RPC_WSTR* text) noexcept
{
    std::free(*text);
    *text = nullptr;
    return RPC_S_OK;
}
