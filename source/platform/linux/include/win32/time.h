// Pauses, clocks and identities of the caller.
#pragma once

#include "types.h"

extern "C"
{
    void Sleep(DWORD milliseconds) noexcept;
    ULONGLONG GetTickCount64() noexcept;
    DWORD GetCurrentProcessId() noexcept;
    DWORD GetCurrentThreadId() noexcept;
}
