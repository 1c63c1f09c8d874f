// What the pages at an address are.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/LoadedModules.h"
#include "platform/linux/MemoryRegions.h"

#include <windows.h>

#include <cerrno>
#include <new>

#include <unistd.h>

namespace
{

using Quoll::Platform::Fail;
using Quoll::Platform::FailWithErrno;
using Quoll::Platform::MemoryRegion;

DWORD ProtectionOf(const MemoryRegion& region) noexcept
{
    if (region.canExecute)
    {
        return region.canWrite ? PAGE_EXECUTE_READWRITE : region.canRead ? PAGE_EXECUTE_READ : PAGE_EXECUTE;
    }
    return region.canWrite ? PAGE_READWRITE : region.canRead ? PAGE_READONLY : PAGE_NOACCESS;
}

MEMORY_BASIC_INFORMATION Describe(std::uintptr_t address, const MemoryRegion& region) noexcept
{
    const auto page = address & ~(static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)) - 1);
    MEMORY_BASIC_INFORMATION information{};
    information.BaseAddress = reinterpret_cast<void*>(page);
    information.RegionSize = region.end - page;
    information.State = MEM_FREE;
    information.Protect = ProtectionOf(region);
    if (region.isMapped)
    {
        const std::uintptr_t module = Quoll::Platform::FindModule(address);
        information.AllocationBase = reinterpret_cast<void*>(module != 0 ? module : region.begin);
        information.AllocationProtect = information.Protect;
        information.State = MEM_COMMIT;
        information.Type = module != 0 ? MEM_IMAGE : region.source.starts_with('/') ? MEM_MAPPED : MEM_PRIVATE;
    }
    return information;
}

} // namespace

SIZE_T VirtualQueryEx(HANDLE process, LPCVOID address, PMEMORY_BASIC_INFORMATION information, SIZE_T size) noexcept
try
{
    if (process != GetCurrentProcess())
    {
        return static_cast<SIZE_T>(Fail(ERROR_INVALID_HANDLE));
    }
    if (size < sizeof(*information))
    {
        return static_cast<SIZE_T>(Fail(ERROR_BAD_LENGTH));
    }
    const auto where = reinterpret_cast<std::uintptr_t>(address);
    MemoryRegion region;
    if (!Quoll::Platform::FindMemoryRegion(where, region))
    {
        return static_cast<SIZE_T>(errno != 0 ? FailWithErrno() : Fail(ERROR_INVALID_PARAMETER));
    }
    *information = Describe(where, region);
    return sizeof(*information);
}
catch (const std::bad_alloc&)
{
    return static_cast<SIZE_T>(Fail(ERROR_NOT_ENOUGH_MEMORY));
}
