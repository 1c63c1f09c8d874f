#include "Quoll/Path.h"

namespace Quoll::Utilities
{

namespace
{

using namespace Quoll::Literals;

bool IsSeparator(WChar unit) noexcept
{
    return unit == '\\' || unit == '/';
}

} // namespace

bool Path::IsAbsolutePath(WStringView path) noexcept
{
    return path.size() >= 3 && (path.starts_with("\\\\"_w) || (path[1] == ':' && IsSeparator(path[2])));
}

bool Path::IsLocalPath(WStringView path) noexcept
{
    return path.size() >= 2 && path[1] == ':' && (path.size() == 2 || IsSeparator(path[2]));
}

bool Path::IsLocalRootPath(WStringView path) noexcept
{
    return path.size() <= 3 && IsLocalPath(path);
}

bool Path::IsUNCRootPath(WStringView path) noexcept
{
    if (path.size() < 5 || !path.starts_with("\\\\"_w))
    {
        return false;
    }
    const std::size_t behindServer = path.find('\\', 2);
    if (behindServer == WStringView::npos || behindServer == 2)
    {
        return false;
    }
    const std::size_t behindShare = path.find('\\', behindServer + 1);
    return behindShare == WStringView::npos || behindShare + 1 == path.size();
}

bool Path::IsRootPath(WStringView path) noexcept
{
    return IsLocalRootPath(path) || IsUNCRootPath(path);
}

} // namespace Quoll::Utilities
