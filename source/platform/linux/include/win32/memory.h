// Memory that the platform hands out for the caller to release, and what the pages at an address are.
#pragma once

#include "types.h"

constexpr UINT LMEM_FIXED = 0;
constexpr UINT LMEM_ZEROINIT = 0x40;
constexpr UINT LPTR = LMEM_FIXED | LMEM_ZEROINIT;
constexpr UINT GMEM_FIXED = 0;
constexpr UINT GPTR = 0x40;

constexpr DWORD PAGE_NOACCESS = 0x01;
constexpr DWORD PAGE_READONLY = 0x02;
constexpr DWORD PAGE_READWRITE = 0x04;
constexpr DWORD PAGE_EXECUTE = 0x10;
constexpr DWORD PAGE_EXECUTE_READ = 0x20;
constexpr DWORD PAGE_EXECUTE_READWRITE = 0x40;
constexpr DWORD MEM_COMMIT = 0x1000;
constexpr DWORD MEM_FREE = 0x10000;
constexpr DWORD MEM_PRIVATE = 0x20000;
constexpr DWORD MEM_MAPPED = 0x40000;
constexpr DWORD MEM_IMAGE = 0x1000000;

struct MEMORY_BASIC_INFORMATION
{
    void* BaseAddress;       // the page of the address
    void* AllocationBase;    // where the module, or else the run of pages, begins; null for free pages
    DWORD AllocationProtect; // the same as Protect: the kernel doesn't keep the first one; 0 for free pages
    SIZE_T RegionSize;       // from BaseAddress on
    DWORD State;             // MEM_COMMIT or MEM_FREE
    DWORD Protect;
    DWORD Type; // 0 for free pages
};
using PMEMORY_BASIC_INFORMATION = MEMORY_BASIC_INFORMATION*;

extern "C"
{
    /// Of the calling process only, by the handle of GetCurrentProcess; any other is ERROR_INVALID_HANDLE. An address
    /// behind all pages of the process is ERROR_INVALID_PARAMETER, a record that is too small ERROR_BAD_LENGTH.
    SIZE_T VirtualQueryEx(HANDLE process, LPCVOID address, PMEMORY_BASIC_INFORMATION information, SIZE_T size) noexcept;

    // Fixed memory only; other flags fail with ERROR_INVALID_PARAMETER.
    HLOCAL LocalAlloc(UINT flags, SIZE_T size) noexcept;
    HLOCAL LocalFree(HLOCAL memory) noexcept; ///< null on success
    HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) noexcept;
    HGLOBAL GlobalFree(HGLOBAL memory) noexcept; ///< null on success
}
