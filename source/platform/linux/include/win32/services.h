// Services, for Linux: there is no service manager.
#pragma once

#include "types.h"

extern "C"
{
    /// Every value is an invalid handle.
    BOOL CloseServiceHandle(SC_HANDLE handle) noexcept;
}
