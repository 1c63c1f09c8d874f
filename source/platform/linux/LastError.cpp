// The calling thread's last error: one plain word a thread, initialised as a constant and without a
// destructor, so that the destructors of other thread-local objects may still read and write it.
#include <windows.h>

namespace
{
constinit thread_local DWORD t_lastError = ERROR_SUCCESS;
}

DWORD GetLastError() noexcept
{
    return t_lastError;
}

void SetLastError(DWORD code) noexcept
{
    t_lastError = code;
}
