// What a probe asks of a file. On Linux the attributes that a file's mode can't hold cost as much again as
// all the rest, and a probe doesn't look at them.
#pragma once

#include <windows.h>

namespace Quoll::Platform
{

/// GetFileAttributesW, but of the attributes only FILE_ATTRIBUTE_DIRECTORY and FILE_ATTRIBUTE_ENCRYPTED count.
DWORD ProbeAttributes(LPCWSTR name) noexcept;

/// GetFileAttributesExW with GetFileExInfoStandard, but of the attributes the same two count.
BOOL ProbeFile(LPCWSTR name, WIN32_FILE_ATTRIBUTE_DATA& data) noexcept;

} // namespace Quoll::Platform
