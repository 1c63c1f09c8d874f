// What counts as a handle.
#pragma once

#include <windows.h>

namespace Quoll::Utilities
{

/// False for 0 and INVALID_HANDLE_VALUE, the two values by which the platform tells of failure.
inline bool IsHandle(HANDLE handle) noexcept
{
    return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

} // namespace Quoll::Utilities
