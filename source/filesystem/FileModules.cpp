// The files of modules.
#include "Quoll/Errors.h"
#include "Quoll/File.h"
#include "Quoll/Path.h"

#include <windows.h>

namespace Quoll::Utilities
{

WString File::GetFileNameOfModule(const void* address)
{
    MEMORY_BASIC_INFORMATION information{};
    if (::VirtualQueryEx(::GetCurrentProcess(), address, &information, sizeof(information)) != sizeof(information))
    {
        throw Win32Exception("VirtualQueryEx failed!");
    }
    return Path::GetModuleFullPath(static_cast<HMODULE>(information.AllocationBase));
}

WString File::GetFileNameOfModule()
{
    return Path::GetModuleFullPath(false);
}

} // namespace Quoll::Utilities
