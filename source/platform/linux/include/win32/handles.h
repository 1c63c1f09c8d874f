// Handles of kernel objects.
//
// A handle is a key with a generation: a stale, closed or foreign one gives
// ERROR_INVALID_HANDLE and never reaches another object. After a fork all handles are dead in
// the child until it calls exec.
#pragma once

#include "types.h"

struct SECURITY_ATTRIBUTES
{
    DWORD nLength;
    void* lpSecurityDescriptor;
    BOOL bInheritHandle; // recorded and accepted; descriptors are always closed by exec
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

extern "C"
{
    BOOL CloseHandle(HANDLE handle) noexcept;

    /// Closes a search handle. No search is open on Linux yet, so every value is an invalid handle.
    BOOL FindClose(HANDLE find) noexcept;
}
