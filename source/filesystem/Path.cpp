#include "Quoll/Path.h"
#include "Quoll/Errors.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

using namespace Quoll::Literals;

constexpr WChar backslash = '\\';

WString Join(WStringView first, WStringView second, WStringView third = {}, WStringView fourth = {})
{
    WString joined;
    joined.reserve(first.size() + second.size() + third.size() + fourth.size());
    return std::move(joined.append(first).append(second).append(third).append(fourth));
}

// Where GetExtension's text begins; the path's length if it has none.
std::size_t FindExtension(WStringView path) noexcept
{
    const std::size_t found = path.find_last_of(".\\"_w);
    return found == WStringView::npos || path[found] == backslash ? path.size() : found;
}

} // namespace

Path& Path::operator=(const Path&) noexcept = default;
Path& Path::operator=(Path&&) noexcept = default;

void Path::AddBackslash(WString& path)
{
    if (!path.empty() && path.back() != backslash)
    {
        path.push_back(backslash);
    }
}

WString Path::Combine(WStringView left, WStringView right)
{
    if (!left.empty() && !right.empty())
    {
        const bool endsSo = left.back() == backslash;
        const bool beginsSo = right.front() == backslash;
        if (endsSo && beginsSo)
        {
            right.remove_prefix(1);
        }
        else if (!endsSo && !beginsSo)
        {
            return Join(left, "\\"_w, right);
        }
    }
    return Join(left, right);
}

WString Path::GetDirectory(WStringView path)
{
    const std::size_t last = path.rfind(backslash);
    return WString(path.substr(0, last == WStringView::npos ? 0 : last));
}

WString Path::GetFileName(WStringView path)
{
    return WString(path.substr(path.find_last_of("\\/"_w) + 1)); // npos + 1 is 0
}

WString Path::GetExtension(WStringView path)
{
    return WString(path.substr(FindExtension(path)));
}

WString Path::RemoveExtension(WStringView path)
{
    return WString(path.substr(0, FindExtension(path)));
}

WString Path::InsertBeforeExtension(WStringView path, WChar separator, WStringView text)
{
    const std::size_t extension = FindExtension(path);
    return Join(path.substr(0, extension), {&separator, 1}, text, path.substr(extension));
}

WString Path::InsertBeforeExtension(WStringView path, WChar separator, std::int32_t number)
{
    char digits[11];
    const char* const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    WChar text[std::size(digits)];
    std::copy(std::cbegin(digits), end, text);
    return InsertBeforeExtension(path, separator, WStringView(text, static_cast<std::size_t>(end - digits)));
}

WString Path::GetDrive(const WString& path)
{
    if (path.size() < 2 || path[0] == 0 || path[1] != ':')
    {
        throw FileSystemException("Unable to get drive", path);
    }
    return path.substr(0, 2);
}

WString Path::RemoveLongPathIdentifier(WStringView path)
{
    constexpr WStringView identifier = "\\\\?\\"_w;
    if (path.starts_with(identifier))
    {
        if (path.size() <= identifier.size() + 1)
        {
            throw std::out_of_range("invalid string position");
        }
        if (path[identifier.size() + 1] == ':')
        {
            path.remove_prefix(identifier.size());
        }
    }
    return WString(path);
}

} // namespace Quoll::Utilities
