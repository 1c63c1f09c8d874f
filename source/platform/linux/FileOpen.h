// CreateFileW for files and folders.
#pragma once

#include <windows.h>

#include <sys/stat.h>

namespace Quoll::Platform
{

constexpr mode_t forEverybody = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

/// INVALID_HANDLE_VALUE with the last error set. A file that is made has no more rights than `most` at any time.
HANDLE OpenFileByName(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                      DWORD flags, mode_t most = forEverybody) noexcept;

} // namespace Quoll::Platform
