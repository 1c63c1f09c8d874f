// Temporary files.
#include "Quoll/Errors.h"
#include "Quoll/File.h"

#include <windows.h>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

WString File::GetTempFileNameW()
{
    WChar folder[MAX_PATH] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH, folder);
    if (length == 0)
    {
        throw Win32Exception("GetTempPath failed.");
    }
    if (length >= MAX_PATH)
    {
        throw Win32Exception("GetTempPath failed.", ERROR_INSUFFICIENT_BUFFER);
    }
    WChar name[MAX_PATH] = {};
    if (::GetTempFileNameW(folder, ""_w, 0, name) == 0)
    {
        throw Win32Exception("GetTempFileName failed.");
    }
    return name;
}

} // namespace Quoll::Utilities
