// Searches in folders. None can be opened as yet, so no search handle is valid.
#include "platform/linux/ErrnoTable.h"

#include <windows.h>

BOOL FindClose(HANDLE) noexcept
{
    return Quoll::Platform::Fail(ERROR_INVALID_HANDLE);
}
