#include "platform/linux/ErrnoTable.h"

#include <windows.h>

BOOL CloseServiceHandle(SC_HANDLE) noexcept
{
    return Quoll::Platform::Fail(ERROR_INVALID_HANDLE);
}
