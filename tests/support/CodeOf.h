// The code that a platform call failed with.
#pragma once

#include <windows.h>

namespace Quoll::Tests
{

/// ERROR_SUCCESS if the call succeeded, else the last error. The call is made right in the argument.
inline DWORD CodeOf(BOOL success)
{
    return success ? ERROR_SUCCESS : GetLastError();
}

} // namespace Quoll::Tests
