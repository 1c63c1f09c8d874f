// The dynamic linker knows where modules are; the kernel knows their files, whatever name they were loaded by and
// wherever the current folder was then.
#include "platform/linux/LoadedModules.h"

#include "platform/linux/MemoryRegions.h"

#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Quoll::Platform
{

namespace
{

struct Search
{
    bool isForAny;
    std::uintptr_t address;
    std::uintptr_t module = 0;
};

int Visit(dl_phdr_info* info, std::size_t, void* data)
{
    auto& search = *static_cast<Search*>(data);
    const auto pageMask = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)) - 1;
    std::uintptr_t first = 0;
    bool isThere = search.isForAny;
    for (const ElfW(Phdr)* segment = info->dlpi_phdr; segment != info->dlpi_phdr + info->dlpi_phnum; ++segment)
    {
        if (segment->p_type == PT_LOAD)
        {
            const std::uintptr_t begin = (info->dlpi_addr + segment->p_vaddr) & ~pageMask;
            const std::uintptr_t end = info->dlpi_addr + segment->p_vaddr + segment->p_memsz;
            first = first == 0 ? begin : first;
            isThere = isThere || (search.address >= begin && search.address < end);
        }
    }
    search.module = isThere ? first : 0;
    return isThere ? 1 : 0;
}

bool Exists(const std::string& path) noexcept
{
    return access(path.c_str(), F_OK) == 0;
}

// Undoes what the kernel does to a path in its lists, where that changed it.
std::string OriginalPath(std::string path)
{
    constexpr std::string_view mark = " (deleted)";
    constexpr std::string_view lineEnd = "\\012";
    if (Exists(path))
    {
        return path;
    }
    if (path.ends_with(mark))
    {
        path.resize(path.size() - mark.size());
    }
    std::string original;
    for (std::size_t from = 0; from < path.size();)
    {
        const std::size_t found = std::min(path.find(lineEnd, from), path.size());
        original.append(path, from, found - from);
        original.append(found < path.size() ? 1 : 0, '\n');
        from = found + lineEnd.size();
    }
    return original;
}

} // namespace

std::uintptr_t ProgramModule() noexcept
{
    Search search{true, 0};
    dl_iterate_phdr(Visit, &search); // the program comes first
    return search.module;
}

std::uintptr_t FindModule(std::uintptr_t address) noexcept
{
    Search search{false, address};
    dl_iterate_phdr(Visit, &search);
    return search.module;
}

std::string ModuleFile(std::uintptr_t module)
{
    MemoryRegion region;
    if (!FindMemoryRegion(module, region) || !region.source.starts_with('/'))
    {
        return {};
    }
    return OriginalPath(std::move(region.source));
}

} // namespace Quoll::Platform
