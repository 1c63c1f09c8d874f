// Versions out of the resources of programs.
#include "Quoll/Errors.h"
#include "Quoll/File.h"

#include <windows.h>

#include <algorithm>
#include <vector>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

VS_FIXEDFILEINFO GetFixedInformation(const WString& path)
{
    const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), nullptr);
    // Never without a byte: the call names its reason only if it gets a place to write to.
    std::vector<std::uint8_t> resource(std::max<DWORD>(size, 1));
    if (!::GetFileVersionInfoW(path.c_str(), 0, size, resource.data()))
    {
        throw Win32Exception("GetFileVersionInfo failed");
    }
    void* block = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(resource.data(), "\\"_w, &block, &length) || block == nullptr)
    {
        throw Win32Exception("VerQueryValueW failed");
    }
    if (length < sizeof(VS_FIXEDFILEINFO))
    {
        throw Win32Exception("VerQueryValueW failed", ERROR_INVALID_DATA);
    }
    return *static_cast<const VS_FIXEDFILEINFO*>(block);
}

} // namespace

void File::GetVersion(const WString& path, std::uint32_t& major, std::uint32_t& minor, std::uint32_t& build,
                      std::uint32_t& revision)
{
    const VS_FIXEDFILEINFO information = GetFixedInformation(path);
    major = information.dwFileVersionMS >> 16;
    minor = information.dwFileVersionMS & 0xFFFF;
    build = information.dwFileVersionLS >> 16;
    revision = information.dwFileVersionLS & 0xFFFF;
}

Version File::GetVersion(const WString& path)
{
    std::uint32_t parts[4] = {};
    GetVersion(path, parts[0], parts[1], parts[2], parts[3]);
    return {parts[0], parts[1], parts[2], parts[3]};
}

WString File::GetVersionString(const WString& path)
{
    return GetVersion(path).ToString();
}

} // namespace Quoll::Utilities
