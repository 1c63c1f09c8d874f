// Names of places that the platform makes up or spells anew.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileFacts.h"
#include "platform/linux/FileName.h"

#include <windows.h>

#include <algorithm>

namespace
{

using namespace Quoll::Literals;

// The length of the text, or the capacity that it needs where the buffer is too small.
DWORD Give(Quoll::WStringView text, LPWSTR buffer, DWORD capacity) noexcept
{
    if (text.size() >= capacity)
    {
        return static_cast<DWORD>(text.size() + 1);
    }
    *std::ranges::copy(text, buffer).out = 0;
    return static_cast<DWORD>(text.size());
}

// A file has one name here, so that all its forms are the one given.
DWORD GiveForm(LPCWSTR path, LPWSTR buffer, DWORD capacity) noexcept
{
    using namespace Quoll::Platform;
    FileName file;
    struct statx facts;
    if (!file.Parse(path))
    {
        return 0;
    }
    if (!ReadFacts(file.Native(), facts))
    {
        return static_cast<DWORD>(file.Fails(FileOperation::Open));
    }
    return Give(path, buffer, capacity);
}

} // namespace

UINT GetWindowsDirectoryW(LPWSTR buffer, UINT capacity) noexcept
{
    return Give("C:\\Windows"_w, buffer, capacity);
}

DWORD GetLongPathNameW(LPCWSTR path, LPWSTR buffer, DWORD capacity) noexcept
{
    return path != nullptr ? GiveForm(path, buffer, capacity)
                           : static_cast<DWORD>(Quoll::Platform::Fail(ERROR_INVALID_PARAMETER));
}

DWORD GetShortPathNameW(LPCWSTR path, LPWSTR buffer, DWORD capacity) noexcept
{
    if (path == nullptr || *path == 0)
    {
        return static_cast<DWORD>(
            Quoll::Platform::Fail(path == nullptr ? ERROR_INVALID_PARAMETER : ERROR_BAD_PATHNAME));
    }
    return GiveForm(path, buffer, capacity);
}
