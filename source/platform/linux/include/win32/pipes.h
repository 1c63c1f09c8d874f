// Named pipes and overlapped I/O.
//
// Message pipes, both ways. A pipe's name is known in the machine's network namespace. Default
// security admits processes of the same user and of root; a descriptor with a null list admits
// everybody. All instances of a name belong to the process that made the first; another process
// that creates the name gets ERROR_ACCESS_DENIED.
#pragma once

#include "handles.h"

constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD FILE_WRITE_DATA = 0x2;
constexpr DWORD FILE_WRITE_ATTRIBUTES = 0x100;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD FILE_FLAG_OVERLAPPED = 0x40000000;
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

    /// Opens a pipe's client end, for overlapped use. Where no instance is free it waits a tenth of a
    /// second for one before it fails with ERROR_PIPE_BUSY: a server makes the next instance when the
    /// last one has got its client, and those who come at once would lose that race again and again.
    /// Names outside \\.\pipe\ are ERROR_NOT_SUPPORTED as yet.
    HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                       DWORD flags, HANDLE pattern) noexcept;
    BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED overlapped) noexcept;
    BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) noexcept;
    BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD transferred, BOOL wait) noexcept;
    BOOL CancelIo(HANDLE file) noexcept;
    BOOL CancelIoEx(HANDLE file, LPOVERLAPPED overlapped) noexcept;
}
