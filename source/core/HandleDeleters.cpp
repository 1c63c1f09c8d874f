#include "Quoll/HandleDeleters.h"

#include "core/Handles.h"

#include <windows.h>

namespace Quoll::Utilities
{

void HandleDeleter::operator()(HANDLE handle) const noexcept
{
    if (IsHandle(handle))
    {
        CloseHandle(handle);
    }
}

void FileHandleDeleter::operator()(HANDLE file) const noexcept
{
    if (IsHandle(file))
    {
        CloseHandle(file);
    }
}

void FindFileHandleDeleter::operator()(HANDLE find) const noexcept
{
    if (find != nullptr)
    {
        FindClose(find);
    }
}

void GlobalMemoryDeleter::operator()(void* memory) const noexcept
{
    if (memory != nullptr)
    {
        GlobalFree(memory);
    }
}

void ModuleHandleDeleter::operator()(HMODULE module) const noexcept
{
    if (module != nullptr)
    {
        FreeLibrary(module);
    }
}

void RecourceHandleDeleter::operator()(void* resource) const noexcept
{
    if (resource != nullptr)
    {
        FreeResource(resource);
    }
}

void SIDDeleter::operator()(void* sid) const noexcept
{
    if (sid != nullptr)
    {
        FreeSid(sid);
    }
}

void ACLDeleter::operator()(ACL* list) const noexcept
{
    if (list != nullptr)
    {
        LocalFree(list);
    }
}

void SecurityDescriptorDeleter::operator()(void* descriptor) const noexcept
{
    if (descriptor != nullptr)
    {
        LocalFree(descriptor);
    }
}

void ServiceHandleDeleter::operator()(SC_HANDLE service) const noexcept
{
    if (service != nullptr)
    {
        CloseServiceHandle(service);
    }
}

} // namespace Quoll::Utilities
