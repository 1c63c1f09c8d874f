#include "Quoll/Guid.h"

#include <windows.h>

#include <rpc.h>

#include <stdexcept>

namespace Quoll::Utilities
{

WString Guid::NewGuid()
{
    // Room comes first: while the platform's text is held, nothing may throw.
    constexpr std::size_t length = 36;
    WString result;
    result.reserve(length);
    UUID identifier{};
    if (UuidCreate(&identifier) != RPC_S_OK)
    {
        throw std::runtime_error("Failed to create the GUID");
    }
    RPC_WSTR text = nullptr;
    if (UuidToStringW(&identifier, &text) != RPC_S_OK || text == nullptr)
    {
        throw std::runtime_error("Failed to convert the GUID to string");
    }
    result = reinterpret_cast<const WChar*>(text);
    if (RpcStringFreeW(&text) != RPC_S_OK)
    {
        throw std::runtime_error("Failed to free the RPC string");
    }
    return result;
}

} // namespace Quoll::Utilities
