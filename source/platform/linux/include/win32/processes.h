// Processes.
#pragma once

#include "types.h"

extern "C"
{
    /// A value that stands for the calling process; no handle, and there is nothing to close.
    HANDLE GetCurrentProcess() noexcept;
}
