// Modules and their entry points, by name, out of this layer's own table.
#pragma once

#include "types.h"

extern "C"
{
    /// Knows the platform modules whose calls this layer provides by name; others give
    /// ERROR_MOD_NOT_FOUND. Letter case and a missing ".dll" don't matter. Null, which asks for the
    /// program itself, is ERROR_NOT_SUPPORTED.
    HMODULE GetModuleHandleW(LPCWSTR name) noexcept;
    /// ERROR_PROC_NOT_FOUND for a name that the layer doesn't provide.
    FARPROC GetProcAddress(HMODULE module, LPCSTR name) noexcept;
    /// As GetModuleHandleW; such modules are never unloaded.
    HMODULE LoadLibraryW(LPCWSTR name) noexcept;
    BOOL FreeLibrary(HMODULE module) noexcept;

    /// Frees nothing and gives FALSE, as the platform's own has done since 16-bit days.
    BOOL FreeResource(HGLOBAL resource) noexcept;
}
