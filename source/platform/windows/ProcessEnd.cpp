#include "platform/process_end.h"

#include "Quoll/WideString.h"

#include <windows.h>

namespace Quoll::Platform
{

using namespace Quoll::Literals;

bool AreOtherThreadsGone() noexcept
{
    using IsEnding = BOOLEAN(NTAPI*)();
    static const auto isEnding = reinterpret_cast<IsEnding>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW("ntdll.dll"_w), "RtlDllShutdownInProgress")));
    return isEnding != nullptr && isEnding() != FALSE;
}

void KeepLibraryLoaded() noexcept
{
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&KeepLibraryLoaded), &library);
}

} // namespace Quoll::Platform
