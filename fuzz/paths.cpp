// Every operation on paths as text, beside what must hold of its result. Bytes are units, but for those from 128 on,
// which are halves of surrogate pairs. The first NUL parts two paths.
#include "Quoll/Errors.h"
#include "Quoll/Path.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using Utilities::Path;

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

bool IsSeparator(WChar unit)
{
    return unit == '\\' || unit == '/';
}

void CheckParts(const WString& path)
{
    const WString directory = Path::GetDirectory(path);
    const WString name = Path::GetFileName(path);
    const WString extension = Path::GetExtension(path);
    const WString stem = Path::RemoveExtension(path);
    const std::size_t last = path.rfind('\\');
    Check(last == WString::npos ? directory.empty() : directory + path.substr(last) == path);
    Check(path.ends_with(name) && name.find_first_of("\\/"_w) == WString::npos);
    Check(name.size() == path.size() || IsSeparator(path[path.size() - name.size() - 1]));
    Check(stem + extension == path);
    Check(extension.empty() || (extension[0] == '.' && extension.find_first_of(".\\"_w, 1) == WString::npos));
    Check(!extension.empty() || path.find('.', last == WString::npos ? 0 : last) == WString::npos);
    Check(Path::InsertBeforeExtension(path, '_', -12) == stem + "_-12"_w + extension);
}

void CheckPair(const WString& left, const WString& right)
{
    const WString combined = Path::Combine(left, right);
    Check(combined.starts_with(left));
    Check(Path::InsertBeforeExtension(left, ':', right) ==
          Path::RemoveExtension(left) + ":"_w + right + Path::GetExtension(left));
    if (left.empty() || right.empty())
    {
        Check(combined == (left.empty() ? right : left));
        return;
    }
    WString expected = left;
    Path::AddBackslash(expected);
    Check(expected.ends_with('\\') && expected.size() <= left.size() + 1);
    Check(combined == expected + right.substr(right.starts_with('\\') ? 1 : 0));
}

void CheckKinds(const WString& path)
{
    Check(Path::IsRootPath(path) == (Path::IsLocalRootPath(path) || Path::IsUNCRootPath(path)));
    Check(!Path::IsLocalRootPath(path) || (Path::IsLocalPath(path) && path.size() <= 3));
    Check(!Path::IsUNCRootPath(path) || (Path::IsAbsolutePath(path) && std::ranges::count(path, '\\') <= 4));
    Check(!(Path::IsLocalPath(path) && path.size() > 2) || Path::IsAbsolutePath(path));
    try
    {
        Check(Path::GetDrive(path) == path.substr(0, 2) && path[1] == ':');
    }
    catch (const Utilities::FileSystemException&)
    {
        Check(path.size() < 2 || path[1] != ':');
    }
    try
    {
        Check(path.ends_with(Path::RemoveLongPathIdentifier(path)));
    }
    catch (const std::out_of_range&)
    {
        Check(path.starts_with("\\\\?\\"_w) && path.size() <= 5);
    }
}

std::vector<WString> Split(WString path)
{
    std::vector<WString> segments;
    for (std::size_t end = path.find('\\'); end != WString::npos; end = path.find('\\'))
    {
        segments.push_back(path.substr(0, end));
        path.erase(0, end + 1);
    }
    segments.push_back(path);
    return segments;
}

// By a list of segments.
WString Canonical(WString path)
{
    const auto isDrive = [](const WString& text) {
        return text.size() == 2 && text[1] == ':';
    };
    WString root;
    for (const WStringView prefix :
         {WStringView("\\\\?\\UNC\\"_w), WStringView("\\\\?\\"_w), WStringView("\\\\"_w), WStringView("\\"_w)})
    {
        if (root.empty() && path.starts_with(prefix))
        {
            root = prefix;
        }
    }
    path.erase(0, root.size());
    std::vector<WString> kept;
    const auto segments = Split(path);
    const std::size_t fixed = root.size() > 1 || (root.empty() && isDrive(segments[0])) ? 1 : 0;
    for (const WString& segment : segments)
    {
        if (segment != "."_w && segment != ".."_w)
        {
            kept.push_back(segment);
        }
        else if (segment == ".."_w && kept.size() > fixed)
        {
            kept.pop_back();
            root = kept.empty() && root.empty() ? WString("\\"_w) : root;
        }
    }
    WString result = root;
    for (std::size_t i = 0; i < kept.size(); ++i)
    {
        result += i == 0 ? kept[i] : WString("\\"_w) + kept[i];
    }
    while (result.ends_with('.') && !result.ends_with("*."_w))
    {
        result.pop_back();
    }
    const bool isBare = isDrive(result) || (result.starts_with("\\\\?\\"_w) && isDrive(result.substr(4)));
    return result.empty() || isBare ? result + "\\"_w : result;
}

void CheckCanonical(const WString& path)
{
    const WString canonical = Path::MakeCanonical(path);
    Check(canonical == (path.size() < 260 ? Canonical(path) : WString()));
    Check(canonical.empty() || Path::MakeCanonical(canonical) == canonical);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    WString text(data, data + size);
    std::ranges::transform(text, text.begin(),
                           [](WChar unit) { return static_cast<WChar>(unit < 128 ? unit : 0xD000 + 16 * unit); });
    const std::size_t end = std::min(text.find(WChar{0}), text.size());
    const WString first = text.substr(0, end);
    const WString second = text.substr(std::min(end + 1, text.size()));
    CheckParts(first);
    CheckParts(text);
    CheckPair(first, second);
    CheckKinds(first);
    CheckCanonical(first);
    return 0;
}
