// The address space of this process, as the kernel lists it.
#pragma once

#include <cstdint>
#include <string>

namespace Quoll::Platform
{

/// A run of pages with the same rights, or a gap between two.
struct MemoryRegion
{
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool isMapped = false;
    bool canRead = false;
    bool canWrite = false;
    bool canExecute = false;
    std::string source; ///< what is mapped, as the kernel prints it: a file's path, "[stack]", or nothing
};

/// The region or gap that holds the address. False with errno 0 for an address behind all regions, with
/// another errno if the list can't be read.
bool FindMemoryRegion(std::uintptr_t address, MemoryRegion& region);

} // namespace Quoll::Platform
