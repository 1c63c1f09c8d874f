// CreateFileW for files and folders.
#pragma once

#include <windows.h>

namespace Quoll::Platform
{

/// INVALID_HANDLE_VALUE with the last error set.
HANDLE OpenFileByName(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                      DWORD flags) noexcept;

} // namespace Quoll::Platform
