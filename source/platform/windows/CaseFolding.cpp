// Case of single units, as the system maps it.
#include <platform/case_folding.h>

#include <windows.h>

namespace Quoll::Platform
{

namespace
{

WChar Map(WChar unit, DWORD mapping) noexcept
{
    WChar mapped = unit;
    return LCMapStringEx(LOCALE_NAME_INVARIANT, mapping, &unit, 1, &mapped, 1, nullptr, nullptr, 0) == 1 ? mapped
                                                                                                         : unit;
}

} // namespace

WChar ToUpperUnit(WChar unit) noexcept
{
    return Map(unit, LCMAP_UPPERCASE);
}

WChar ToLowerUnit(WChar unit) noexcept
{
    return Map(unit, LCMAP_LOWERCASE);
}

} // namespace Quoll::Platform
