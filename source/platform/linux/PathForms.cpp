// Names of places that the platform makes up or spells anew.
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

} // namespace

UINT GetWindowsDirectoryW(LPWSTR buffer, UINT capacity) noexcept
{
    return Give("C:\\Windows"_w, buffer, capacity);
}
