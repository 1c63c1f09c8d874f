// The client's side of the handshake.
#pragma once

#include "platform/linux/PipeProtocol.h"
#include "platform/linux/PipeTransport.h"

namespace Quoll::Platform
{

/// Null with the last error set: ERROR_FILE_NOT_FOUND (nobody serves the name), ERROR_PIPE_BUSY,
/// ERROR_ACCESS_DENIED, ERROR_SEM_TIMEOUT (the server doesn't answer).
Ref<PipeTransport> OpenInstance(const PipeAddress& address) noexcept;

/// CreateFileW for a name behind \\.\pipe\.
HANDLE OpenPipeByName(LPCWSTR name, DWORD disposition, DWORD flags) noexcept;

/// Waits until an instance is free to be opened; ERROR_SEM_TIMEOUT if none is in time.
/// NMPWAIT_USE_DEFAULT_WAIT stands for the time that the server gave at creation.
bool WaitForInstance(const PipeAddress& address, DWORD milliseconds) noexcept;

} // namespace Quoll::Platform
