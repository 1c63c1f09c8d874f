// Modules and entry points by name. A module's handle is the address of its row; nothing is ever
// loaded or unloaded.
#include "platform/linux/ErrnoTable.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace
{

using Quoll::Platform::Fail;

struct EntryPoint
{
    std::string_view name;
    void (*address)(SRWLOCK*) noexcept;
};

constexpr std::u16string_view k_kernelName = u"kernel32";
constexpr std::u16string_view k_extension = u".dll";

// A constant, because constructors of other translation units ask for these names.
constexpr EntryPoint k_kernelEntryPoints[] = {
    {"InitializeSRWLock", InitializeSRWLock},
    {"AcquireSRWLockShared", AcquireSRWLockShared},
    {"AcquireSRWLockExclusive", AcquireSRWLockExclusive},
    {"ReleaseSRWLockShared", ReleaseSRWLockShared},
    {"ReleaseSRWLockExclusive", ReleaseSRWLockExclusive},
};

char g_kernel; // its address is the module's handle

HMODULE KernelModule() noexcept
{
    return reinterpret_cast<HMODULE>(&g_kernel);
}

bool EqualNoCase(std::u16string_view left, std::u16string_view right) noexcept
{
    const auto lower = [](char16_t unit) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
    };
    return std::ranges::equal(left, right, {}, lower, lower);
}

} // namespace

HMODULE GetModuleHandleW(LPCWSTR name) noexcept
{
    if (name == nullptr)
    {
        Fail(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    std::u16string_view stem = name;
    if (stem.size() >= k_extension.size() && EqualNoCase(stem.substr(stem.size() - k_extension.size()), k_extension))
    {
        stem.remove_suffix(k_extension.size());
    }
    if (!EqualNoCase(stem, k_kernelName))
    {
        Fail(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return KernelModule();
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) noexcept
{
    if (module != KernelModule() || name == nullptr)
    {
        Fail(module == KernelModule() ? ERROR_INVALID_PARAMETER : ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    const auto* found = std::ranges::find(k_kernelEntryPoints, std::string_view(name), &EntryPoint::name);
    if (found == std::end(k_kernelEntryPoints))
    {
        Fail(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    // Via a function type without arguments, which every function pointer converts to and back.
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(found->address));
}

HMODULE LoadLibraryW(LPCWSTR name) noexcept
{
    return GetModuleHandleW(name);
}

BOOL FreeLibrary(HMODULE module) noexcept
{
    return module == KernelModule() ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

BOOL FreeResource(HGLOBAL) noexcept
{
    return FALSE;
}
