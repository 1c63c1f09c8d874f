// Names of places: drives, folders of the system, and the forms that a path has.
#pragma once

#include "types.h"

extern "C"
{
    /// "C:", in either case, is the one device that has a name; it is mapped to "\Device\HarddiskVolume1". Null asks
    /// for the list of names. Counts include both NULs at the end. Success leaves the last error alone.
    DWORD QueryDosDeviceW(LPCWSTR device, LPWSTR buffer, DWORD capacity) noexcept;

    /// "C:\Windows". It is a name alone: on most hosts there is no such folder. A buffer that is too small is left
    /// alone, and the result is the capacity that is needed.
    UINT GetWindowsDirectoryW(LPWSTR buffer, UINT capacity) noexcept;
}
