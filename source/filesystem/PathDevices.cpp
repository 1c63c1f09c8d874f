#include "Quoll/Errors.h"
#include "Quoll/Path.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

using namespace Quoll::Literals;

constexpr DWORD firstCapacity = 260;
constexpr DWORD lastCapacity = firstCapacity << 8; // above what the kernel's names can have

// The first of the drive's mappings, in the buffer; empty if there is none.
WStringView FindMapping(const WString& drive, WString& buffer)
{
    for (DWORD capacity = firstCapacity; capacity <= lastCapacity; capacity *= 2)
    {
        buffer.resize(std::max<std::size_t>(buffer.size(), capacity));
        SetLastError(ERROR_SUCCESS); // a success leaves what was there before
        const DWORD count = QueryDosDeviceW(drive.c_str(), buffer.data(), capacity);
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        {
            const WStringView mappings(buffer.data(), count);
            return mappings.substr(0, mappings.find(WChar{0}));
        }
    }
    return {};
}

} // namespace

WString Path::ConvertToNTPath(const WString& path)
{
    if (path.empty())
    {
        return {};
    }
    const std::size_t colon = path.find(':', 1);
    if (colon == WString::npos)
    {
        throw FileSystemException("Can't convert NT path. Invalid path: ", path);
    }
    WChar mapping[firstCapacity];
    const DWORD count = QueryDosDeviceW(path.substr(0, colon + 1).c_str(), mapping, firstCapacity);
    if (count < 2) // the two NULs at the end
    {
        throw FileSystemException("Could not get size of nt path", path);
    }
    const WStringView rest = WStringView(path).substr(colon + 1);
    WString ntPath;
    ntPath.reserve(count - 2 + rest.size());
    return std::move(ntPath.append(mapping, count - 2).append(rest));
}

WString Path::NormalizeNTPath(const WString& ntPath)
{
    if (ntPath.empty())
    {
        return {};
    }
    const std::size_t second = ntPath.find('\\', 1);
    const std::size_t third = second == WString::npos ? second : ntPath.find('\\', second + 1);
    if (third == WString::npos)
    {
        throw FileSystemException("Can't normalize NT path. Can't find third slash", ntPath);
    }
    const WStringView device = WStringView(ntPath).substr(0, third);
    WString drive = "A:"_w;
    for (WString buffer; drive[0] <= 'Z'; ++drive[0])
    {
        if (FindMapping(drive, buffer) == device)
        {
            return Combine(drive, WStringView(ntPath).substr(third + 1));
        }
    }
    throw FileSystemException("Can't resolve NT path", ntPath);
}

} // namespace Quoll::Utilities
