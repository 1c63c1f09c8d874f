// Modules and entry points. The handle of a platform module, whose calls this layer provides, is the address
// of its row; that of any other is where it begins. Nothing is ever loaded or unloaded.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/LoadedModules.h"

#include <platform/native_path.h>

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <new>
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

HMODULE ToHandle(std::uintptr_t module) noexcept
{
    return reinterpret_cast<HMODULE>(module);
}

// The library's own text for a module's file; empty if there is none.
Quoll::WString FileOf(HMODULE module)
{
    using namespace Quoll::Platform;
    auto address = module != nullptr ? reinterpret_cast<std::uintptr_t>(module) : ProgramModule();
    const std::uintptr_t found = FindModule(address);
    // The platform's own modules live in this library.
    if (found == 0 || (found != address && module != KernelModule()))
    {
        return {};
    }
    return PathFromNative(ModuleFile(found));
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
        return ToHandle(Quoll::Platform::ProgramModule());
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

BOOL GetModuleHandleExW(DWORD flags, LPCWSTR nameOrAddress, HMODULE* module) noexcept
{
    constexpr DWORD known = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT |
                            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
    constexpr DWORD exclusive = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (module == nullptr)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    *module = nullptr;
    if ((flags & ~known) != 0 || (flags & exclusive) == exclusive)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) == 0 || nameOrAddress == nullptr)
    {
        *module = GetModuleHandleW(nameOrAddress); // none of these is ever unloaded
        return *module != nullptr;
    }
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) == 0)
    {
        return Fail(ERROR_NOT_SUPPORTED);
    }
    *module = ToHandle(Quoll::Platform::FindModule(reinterpret_cast<std::uintptr_t>(nameOrAddress)));
    return *module != nullptr ? TRUE : Fail(ERROR_MOD_NOT_FOUND);
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD capacity) noexcept
try
{
    const Quoll::WString file = FileOf(module);
    if (file.empty())
    {
        return static_cast<DWORD>(Fail(ERROR_MOD_NOT_FOUND));
    }
    const bool fits = file.size() < capacity;
    const DWORD length = fits ? static_cast<DWORD>(file.size()) : capacity;
    if (capacity != 0)
    {
        const DWORD copied = fits ? length : length - 1;
        std::copy_n(file.data(), copied, buffer);
        buffer[copied] = 0;
    }
    SetLastError(fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
    return length;
}
catch (const std::bad_alloc&)
{
    return static_cast<DWORD>(Fail(ERROR_NOT_ENOUGH_MEMORY));
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
