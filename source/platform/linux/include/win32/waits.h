// Events, mutexes and waits.
//
// Objects have no name yet: a name is ERROR_NOT_SUPPORTED.
#pragma once

#include "handles.h"

constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_ABANDONED = 0x80;
constexpr DWORD WAIT_ABANDONED_0 = 0x80;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

extern "C"
{
    HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) noexcept;
    BOOL SetEvent(HANDLE event) noexcept;
    BOOL ResetEvent(HANDLE event) noexcept;
    BOOL PulseEvent(HANDLE event) noexcept;

    HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) noexcept;
    BOOL ReleaseMutex(HANDLE mutex) noexcept;

    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) noexcept;
    /// Alertable is accepted; nothing is ever queued to a thread.
    DWORD WaitForSingleObjectEx(HANDLE handle, DWORD milliseconds, BOOL alertable) noexcept;
    /// Lowest index first; all or none when `waitAll`. A count of 0 or above 64, or one object
    /// twice with `waitAll`, is ERROR_INVALID_PARAMETER.
    DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds) noexcept;
}
