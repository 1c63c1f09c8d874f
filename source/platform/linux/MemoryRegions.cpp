// Out of /proc/self/maps: one region a line, in the order of addresses.
#include "platform/linux/MemoryRegions.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace Quoll::Platform
{

namespace
{

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// Takes a number in hexadecimal digits and the unit behind it.
std::uintptr_t TakeAddress(std::string_view& line) noexcept
{
    std::uintptr_t address = 0;
    const char* const end = std::from_chars(line.data(), line.data() + line.size(), address, 16).ptr;
    line.remove_prefix(std::min(line.size(), static_cast<std::size_t>(end - line.data()) + 1));
    return address;
}

// "begin-end rwxp offset device inode", blanks, the source.
MemoryRegion ReadRegion(std::string_view line)
{
    MemoryRegion region;
    region.begin = TakeAddress(line);
    region.end = TakeAddress(line);
    region.isMapped = true;
    const std::string_view rights = line.substr(0, 4);
    region.canRead = rights.starts_with('r');
    region.canWrite = rights.substr(std::min<std::size_t>(rights.size(), 1)).starts_with('w');
    region.canExecute = rights.find('x') != std::string_view::npos;
    for (int field = 0; field < 4; ++field)
    {
        line.remove_prefix(std::min(line.size(), line.find(' ')));
        line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ')));
    }
    region.source = line.substr(0, line.find('\n'));
    return region;
}

// The kernel's own page above all others is nothing of the process.
bool IsOfKernel(const MemoryRegion& region) noexcept
{
    return static_cast<std::intptr_t>(region.begin) < 0;
}

} // namespace

bool FindMemoryRegion(std::uintptr_t address, MemoryRegion& region)
{
    const File list(std::fopen("/proc/self/maps", "re"), std::fclose);
    if (list == nullptr)
    {
        return false;
    }
    char* text = nullptr;
    std::size_t capacity = 0;
    std::uintptr_t behindLast = 0;
    bool isFound = false;
    errno = 0;
    for (ssize_t length = 0; !isFound && (length = getline(&text, &capacity, list.get())) > 0;)
    {
        region = ReadRegion({text, static_cast<std::size_t>(length)});
        if (IsOfKernel(region))
        {
            break;
        }
        isFound = address < region.end;
        behindLast = isFound ? behindLast : region.end;
    }
    std::free(text);
    if (isFound && address < region.begin)
    {
        region = {behindLast, region.begin, false, false, false, false, {}};
    }
    return isFound;
}

} // namespace Quoll::Platform
