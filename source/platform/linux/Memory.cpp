// Fixed memory out of the C library's heap.
#include "platform/linux/ErrnoTable.h"

#include <windows.h>

#include <cstdlib>

namespace
{

void* Allocate(UINT flags, SIZE_T size) noexcept
{
    if ((flags & ~LMEM_ZEROINIT) != 0)
    {
        Quoll::Platform::Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const SIZE_T atLeastOne = size != 0 ? size : 1;
    void* const memory = (flags & LMEM_ZEROINIT) != 0 ? std::calloc(1, atLeastOne) : std::malloc(atLeastOne);
    if (memory == nullptr)
    {
        Quoll::Platform::Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    return memory;
}

} // namespace

HLOCAL LocalAlloc(UINT flags, SIZE_T size) noexcept
{
    return Allocate(flags, size);
}

HLOCAL LocalFree(HLOCAL memory) noexcept
{
    std::free(memory);
    return nullptr;
}

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) noexcept
{
    return Allocate(flags, size);
}

HGLOBAL GlobalFree(HGLOBAL memory) noexcept
{
    std::free(memory);
    return nullptr;
}
