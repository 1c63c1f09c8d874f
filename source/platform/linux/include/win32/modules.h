// Modules, their files, and the entry points of those that this layer provides.
#pragma once

#include "types.h"

constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_PIN = 1;
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT = 2;
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 4;

extern "C"
{
    /// Null asks for the program itself. By name it knows the platform modules whose calls this layer
    /// provides; others give ERROR_MOD_NOT_FOUND. Letter case and a missing ".dll" don't matter.
    HMODULE GetModuleHandleW(LPCWSTR name) noexcept;
    /// By an address, any program or library that is loaded; only without counting the handle
    /// (ERROR_NOT_SUPPORTED), which is good as long as the module stays. By name as GetModuleHandleW.
    BOOL GetModuleHandleExW(DWORD flags, LPCWSTR nameOrAddress, HMODULE* module) noexcept;
    /// The file of a handle of the two calls above, with all links followed; a platform module's is that of
    /// this library. The last error of success is 0. A buffer that is too small gets what fits with a NUL:
    /// the result is its capacity, the last error ERROR_INSUFFICIENT_BUFFER.
    DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD capacity) noexcept;
    /// Of platform modules only. ERROR_PROC_NOT_FOUND for a name that the layer doesn't provide.
    FARPROC GetProcAddress(HMODULE module, LPCSTR name) noexcept;
    /// As GetModuleHandleW; such modules are never unloaded.
    HMODULE LoadLibraryW(LPCWSTR name) noexcept;
    BOOL FreeLibrary(HMODULE module) noexcept;

    /// Frees nothing and gives FALSE, as the platform's own has done since 16-bit days.
    BOOL FreeResource(HGLOBAL resource) noexcept;
}
