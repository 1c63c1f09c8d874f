#include "Quoll/NativePath.h"

#include "Quoll/Errors.h"

#include <platform/native_path.h>

namespace Quoll::Utilities
{

std::filesystem::path NativePath::ToNative(WStringView path)
{
    std::filesystem::path native;
    if (!Platform::PathToNative(path, native))
    {
        throw FileSystemException("The path names no file of the host", WString(path));
    }
    return native;
}

WString NativePath::FromNative(const std::filesystem::path& path)
{
    return Platform::PathFromNative(path);
}

} // namespace Quoll::Utilities
