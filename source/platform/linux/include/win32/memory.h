// Memory that the platform hands out for the caller to release.
#pragma once

#include "types.h"

constexpr UINT LMEM_FIXED = 0;
constexpr UINT LMEM_ZEROINIT = 0x40;
constexpr UINT LPTR = LMEM_FIXED | LMEM_ZEROINIT;
constexpr UINT GMEM_FIXED = 0;
constexpr UINT GPTR = 0x40;

extern "C"
{
    // Fixed memory only; other flags fail with ERROR_INVALID_PARAMETER.
    HLOCAL LocalAlloc(UINT flags, SIZE_T size) noexcept;
    HLOCAL LocalFree(HLOCAL memory) noexcept; ///< null on success
    HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) noexcept;
    HGLOBAL GlobalFree(HGLOBAL memory) noexcept; ///< null on success
}
