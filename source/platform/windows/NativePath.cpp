// Paths: both spellings are one.
#include <platform/native_path.h>

#include <windows.h>

namespace Quoll::Platform
{

WString PathFromNative(const std::filesystem::path& native)
{
    return native.native();
}

bool PathToNative(WStringView path, std::filesystem::path& native)
{
    if (path.find(WChar{0}) != WStringView::npos)
    {
        SetLastError(ERROR_INVALID_NAME);
        return false;
    }
    native = path;
    return true;
}

} // namespace Quoll::Platform
