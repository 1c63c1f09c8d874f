// From errno to error codes, where a call on files has a code of its own for it.
#pragma once

#include <windows.h>

#include <cstdint>

namespace Quoll::Platform
{

enum class FileOperation : std::uint8_t
{
    Open, ///< opens what is there, or looks at it
    Create,
    Transfer,
    Delete,
    MakeFolder,
    RemoveFolder,
    Move
};

/// The code for that operation's failure; FromErrno's where it has none of its own.
DWORD FromErrno(int value, FileOperation operation) noexcept;

} // namespace Quoll::Platform
