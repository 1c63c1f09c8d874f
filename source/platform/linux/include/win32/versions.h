// Version resources of Windows programs.
//
// The programs' files are read, of 32 and 64 bits, and nothing in them is trusted. Of several languages the neutral
// one is taken, else American English, else the first. Older formats have no version here.
#pragma once

#include "types.h"

struct VS_FIXEDFILEINFO
{
    DWORD dwSignature; // 0xFEEF04BD
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};

extern "C"
{
    // The two calls on files understand a name as CreateFileW does: no folders are searched for a bare one. A file
    // without a version resource, of whatever kind, is ERROR_RESOURCE_DATA_NOT_FOUND. The last error of success is 0.

    DWORD GetFileVersionInfoSizeW(LPCWSTR name, LPDWORD unused) noexcept;
    /// A buffer that is too small gets what fits, which then counts as all there is; one that has no room for the root
    /// is ERROR_INSUFFICIENT_BUFFER.
    BOOL GetFileVersionInfoW(LPCWSTR name, DWORD unused, DWORD capacity, LPVOID data) noexcept;
    /// The address of a value within the block, and its length: in units, its NUL included, for a text, and in bytes
    /// for any other. What the resource itself doesn't have is ERROR_RESOURCE_TYPE_NOT_FOUND. Never leads beyond the
    /// block.
    BOOL VerQueryValueW(LPCVOID block, LPCWSTR path, LPVOID* value, PUINT length) noexcept;
}
