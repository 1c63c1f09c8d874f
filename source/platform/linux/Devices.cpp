// The names of devices. The root of the file system is one drive on one device, whatever is mounted below it.
#include "platform/linux/ErrnoTable.h"

#include <windows.h>

#include <algorithm>

namespace
{

using namespace Quoll::Literals;
using Quoll::Platform::Fail;

constexpr Quoll::WStringView k_mapping = "\\Device\\HarddiskVolume1\0\0"_w;
constexpr Quoll::WStringView k_names = "C:\0\0"_w;

bool IsDrive(Quoll::WStringView name) noexcept
{
    return name == "C:"_w || name == "c:"_w;
}

} // namespace

DWORD QueryDosDeviceW(LPCWSTR device, LPWSTR buffer, DWORD capacity) noexcept
{
    if (device != nullptr && !IsDrive(device))
    {
        return static_cast<DWORD>(Fail(ERROR_FILE_NOT_FOUND));
    }
    const Quoll::WStringView list = device != nullptr ? k_mapping : k_names;
    if (capacity < list.size())
    {
        return static_cast<DWORD>(Fail(ERROR_INSUFFICIENT_BUFFER));
    }
    std::ranges::copy(list, buffer);
    return static_cast<DWORD>(list.size());
}
