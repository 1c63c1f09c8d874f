#include "Quoll/Errors.h"
#include "Quoll/Path.h"

#include <windows.h>

namespace Quoll::Utilities
{

namespace
{

// One of the calls that give a path another form.
using FormCall = decltype(GetLongPathNameW)*;

WString AskForForm(FormCall call, const char* name, const WString& path)
{
    WString form;
    DWORD count = call(path.c_str(), nullptr, 0);
    while (count > form.size()) // again where the form grew between two calls
    {
        form.resize(count);
        count = call(path.c_str(), form.data(), count);
    }
    if (count == 0)
    {
        throw FileSystemException(name, path);
    }
    form.resize(count);
    return form;
}

} // namespace

WString Path::ExpandPath(const WString& path)
{
    return AskForForm(GetLongPathNameW, "GetLongPathName", path);
}

WString Path::ShortenPath(const WString& path)
{
    return AskForForm(GetShortPathNameW, "GetShortPathName", path);
}

std::uint32_t Path::GetAttributes(const WString& path) noexcept
{
    return GetFileAttributesW(path.c_str());
}

void Path::SetAttributes(const WString& path, std::uint32_t mask)
{
    if (!SetFileAttributesW(path.c_str(), mask))
    {
        throw FileSystemException("SetFileAttributes failed", path);
    }
}

void Path::SetAttribute(const WString& path, std::uint32_t mask)
{
    // All bits are set in what stands for a failure.
    const std::uint32_t attributes = GetAttributes(path);
    if ((attributes & mask) == 0)
    {
        SetAttributes(path, attributes | mask);
    }
}

void Path::RemoveAttribute(const WString& path, std::uint32_t mask)
{
    const std::uint32_t attributes = GetAttributes(path);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & mask) != 0)
    {
        SetAttributes(path, attributes & ~mask);
    }
}

void Path::SetReadOnlyAttribute(const WString& path)
{
    SetAttribute(path, FILE_ATTRIBUTE_READONLY);
}

void Path::RemoveReadOnlyAttribute(const WString& path)
{
    RemoveAttribute(path, FILE_ATTRIBUTE_READONLY);
}

} // namespace Quoll::Utilities
