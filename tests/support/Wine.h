// Whether Windows is Wine, which some tests have to know.
#pragma once

#include <windows.h>

namespace Quoll::Tests
{

inline bool IsWine()
{
    static constexpr WCHAR library[] = {'n', 't', 'd', 'l', 'l', '.', 'd', 'l', 'l', 0};
    return GetProcAddress(GetModuleHandleW(library), "wine_get_version") != nullptr;
}

} // namespace Quoll::Tests
