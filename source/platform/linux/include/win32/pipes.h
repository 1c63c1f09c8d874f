// Named pipes and overlapped I/O.
//
// Message pipes, both ways. A pipe's name is known in the machine's network namespace. Default
// security admits processes of the same user and of root; a descriptor with a null list admits
// everybody. All instances of a name belong to the process that made the first; another process
// that creates the name gets ERROR_ACCESS_DENIED.
#pragma once

#include "files.h"

constexpr DWORD FILE_FLAG_FIRST_PIPE_INSTANCE = 0x00080000;

constexpr DWORD PIPE_ACCESS_DUPLEX = 3;
constexpr DWORD PIPE_TYPE_MESSAGE = 4;
constexpr DWORD PIPE_READMODE_MESSAGE = 2;
constexpr DWORD PIPE_READMODE_BYTE = 0;
constexpr DWORD PIPE_WAIT = 0;
constexpr DWORD PIPE_NOWAIT = 1;
constexpr DWORD PIPE_UNLIMITED_INSTANCES = 255;
constexpr DWORD NMPWAIT_USE_DEFAULT_WAIT = 0;
constexpr DWORD NMPWAIT_WAIT_FOREVER = 0xFFFFFFFF;

extern "C"
{
    /// Duplex message pipes for overlapped use; other modes are ERROR_NOT_SUPPORTED.
    HANDLE CreateNamedPipeW(LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD maxInstances, DWORD outBufferSize,
                            DWORD inBufferSize, DWORD defaultTimeout, LPSECURITY_ATTRIBUTES attributes) noexcept;
    BOOL ConnectNamedPipe(HANDLE pipe, LPOVERLAPPED overlapped) noexcept;
    /// Both ends get ERROR_PIPE_NOT_CONNECTED from then on; what is unread is dropped.
    BOOL DisconnectNamedPipe(HANDLE pipe) noexcept;
    BOOL WaitNamedPipeW(LPCWSTR name, DWORD milliseconds) noexcept;
    BOOL SetNamedPipeHandleState(HANDLE pipe, LPDWORD mode, LPDWORD maxCollection, LPDWORD collectTimeout) noexcept;
    BOOL GetNamedPipeClientProcessId(HANDLE pipe, ULONG* processId) noexcept;
    BOOL GetNamedPipeServerProcessId(HANDLE pipe, ULONG* processId) noexcept;

    // Of files as well, whose operations are over when they come back.
    BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD transferred, BOOL wait) noexcept;
    BOOL CancelIo(HANDLE file) noexcept;
    BOOL CancelIoEx(HANDLE file, LPOVERLAPPED overlapped) noexcept;
}
