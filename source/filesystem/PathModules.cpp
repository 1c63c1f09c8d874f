#include "Quoll/Errors.h"
#include "Quoll/Path.h"

#include <windows.h>

#include <iterator>
#include <stdexcept>

namespace Quoll::Utilities
{

WString Path::GetModuleFullPath(HMODULE module)
{
    DWORD capacity = 32767;
    for (WString buffer;;)
    {
        buffer.resize(capacity);
        SetLastError(ERROR_SUCCESS); // or what an earlier call left would count
        const DWORD count = GetModuleFileNameW(module, buffer.data(), capacity);
        const DWORD error = GetLastError();
        if (error == ERROR_INSUFFICIENT_BUFFER && count >= capacity)
        {
            capacity = 2 * count;
        }
        else if (error != ERROR_SUCCESS)
        {
            throw Win32Exception("Can't get full path", error);
        }
        else
        {
            return buffer.substr(0, count);
        }
    }
}

WString Path::GetModuleFullPath(bool ofThisLibrary)
{
    return GetModuleFullPath(ofThisLibrary ? GetImageBase() : nullptr);
}

WString Path::GetModuleDirectory()
{
    return GetDirectory(GetModuleFullPath(true));
}

WString Path::GetProcessName()
{
    return GetFileName(GetModuleFullPath(false));
}

WString Path::MakeFullPath(WStringView path)
{
    return IsAbsolutePath(path) ? WString(path) : Combine(GetModuleDirectory(), path);
}

WString Path::GetSystemRootDirectory()
{
    WChar buffer[260];
    const UINT length = GetWindowsDirectoryW(buffer, static_cast<UINT>(std::size(buffer)));
    if (length == 0 || length >= std::size(buffer))
    {
        throw std::runtime_error("Cannot get the system root directory");
    }
    return {buffer, length};
}

HMODULE Path::GetImageBase() noexcept
{
    static const char inThisLibrary = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&inThisLibrary), &module);
    return module;
}

} // namespace Quoll::Utilities
