// Names of places: drives, folders of the system, and the forms that a path has.
#pragma once

#include "types.h"

extern "C"
{
    /// "C:", in either case, is the one device that has a name; it is mapped to "\Device\HarddiskVolume1". Null asks
    /// for the list of names. Counts include both NULs at the end. Success leaves the last error alone.
    DWORD QueryDosDeviceW(LPCWSTR device, LPWSTR buffer, DWORD capacity) noexcept;

    // The calls below give the length, or the capacity that is needed where the buffer is too small, which is then
    // left alone. Neither touches the last error.

    /// "C:\Windows". It is a name alone: on most hosts there is no such folder.
    UINT GetWindowsDirectoryW(LPWSTR buffer, UINT capacity) noexcept;
    /// The path as given, since a file has one name here; it has to exist. An empty one is ERROR_PATH_NOT_FOUND.
    DWORD GetLongPathNameW(LPCWSTR path, LPWSTR buffer, DWORD capacity) noexcept;
    /// As GetLongPathNameW; an empty path is ERROR_BAD_PATHNAME.
    DWORD GetShortPathNameW(LPCWSTR path, LPWSTR buffer, DWORD capacity) noexcept;
}
