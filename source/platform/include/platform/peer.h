// Who is at the other end of a named pipe.
#pragma once

#include "Quoll/WideString.h"

#include <windows.h>

#include <cstdint>
#include <string>

namespace Quoll::Platform
{

struct PeerIdentity
{
    DWORD processId = 0;
    std::string user;         // textual SID of the account
    WString executable;       // full path
    std::uint64_t device = 0; // of the executable's file
    std::uint64_t file = 0;   // its index on that device
};

/// The process at the other end of a pipe handle.
/// False with the last error set if it is gone or can't be told.
bool QueryPipePeer(HANDLE pipe, PeerIdentity& peer) noexcept;

} // namespace Quoll::Platform
