// Probes of files: the system's own calls cost the least.
#include <platform/file_probe.h>

namespace Quoll::Platform
{

DWORD ProbeAttributes(LPCWSTR name) noexcept
{
    return ::GetFileAttributesW(name);
}

BOOL ProbeFile(LPCWSTR name, WIN32_FILE_ATTRIBUTE_DATA& data) noexcept
{
    return ::GetFileAttributesExW(name, GetFileExInfoStandard, &data);
}

} // namespace Quoll::Platform
