#include "platform/linux/FileName.h"

#include "platform/linux/ErrnoTable.h"

#include <platform/native_path.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <utility>

#include <sys/stat.h>

namespace Quoll::Platform
{

using namespace Quoll::Literals;

namespace
{

constexpr std::size_t longestName = 32767; // in units

bool IsSeparator(WChar unit) noexcept
{
    return unit == '\\' || unit == '/';
}

// Where the text proper begins: behind a drive and the separators that follow it.
std::size_t PrefixOf(WStringView name) noexcept
{
    std::size_t length = name.size() >= 2 && name[1] == ':' ? 2 : 0;
    while (length < name.size() && IsSeparator(name[length]))
    {
        ++length;
    }
    return length;
}

bool NeedsCleaning(WStringView name) noexcept
{
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        if (name[i] == '.' && (i == 0 || IsSeparator(name[i - 1]) || name[i - 1] == ':'))
        {
            return true;
        }
    }
    return false;
}

// One part of a path behind what has been kept so far, which begins at `start`.
void AppendPart(WString& clean, std::size_t start, bool rooted, WStringView part)
{
    if (part.empty() || part == "."_w)
    {
        return;
    }
    const std::size_t last = clean.find_last_of(WChar{'\\'});
    const std::size_t lastStart = last == WString::npos || last < start ? start : last + 1;
    const bool empty = clean.size() == start;
    if (part == ".."_w && (empty ? rooted : clean.compare(lastStart, WString::npos, part) != 0))
    {
        clean.resize(lastStart > start ? lastStart - 1 : start);
        return;
    }
    if (!empty)
    {
        clean.push_back('\\');
    }
    clean.append(part);
}

/// Most names need no more than this: ASCII, no dots to take out, nothing in front but the drive, and
/// none of what stands at another place. False for all others, whatever is written then.
bool ParsePlain(WStringView name, std::string& native)
{
    const bool hasDrive = name.size() > 2 && name[1] == ':' && (name[0] == 'C' || name[0] == 'c');
    name.remove_prefix(hasDrive ? 2 : 0);
    const bool rooted = IsSeparator(name[0]);
    const WChar second = name.size() > 1 ? name[1] : WChar{};
    if ((hasDrive && !rooted) || second == ':' || (rooted && (IsSeparator(second) || second == 'W' || second == 'w')))
    {
        return false;
    }
    native.resize(name.size());
    WChar last = '\\';
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        const WChar unit = name[i];
        if (unit == 0 || unit > 0x7F || (unit == '.' && IsSeparator(last)))
        {
            return false;
        }
        native[i] = unit == '\\' ? '/' : static_cast<char>(unit);
        last = unit;
    }
    return true;
}

std::string WithoutSeparators(std::string name)
{
    while (name.size() > 1 && name.ends_with('/'))
    {
        name.pop_back();
    }
    return name;
}

} // namespace

WString WithoutDots(WStringView name)
{
    const bool server = name.size() >= 2 && IsSeparator(name[0]) && IsSeparator(name[1]);
    if (server || !NeedsCleaning(name))
    {
        return WString(name);
    }
    const std::size_t start = PrefixOf(name);
    const bool rooted = start > 0 && IsSeparator(name[start - 1]);
    WString clean(name.substr(0, start));
    for (std::size_t i = start; i <= name.size();)
    {
        std::size_t end = i;
        while (end < name.size() && !IsSeparator(name[end]))
        {
            ++end;
        }
        AppendPart(clean, start, rooted, name.substr(i, end - i));
        i = end + 1;
    }
    if (IsSeparator(name.back()) && clean.size() > start)
    {
        clean.push_back('\\');
    }
    return clean.empty() ? WString("."_w) : clean;
}

bool FileName::Parse(LPCWSTR name) noexcept
try
{
    const WStringView text = name == nullptr ? WStringView() : WStringView(name);
    if (text.empty() || text.size() > longestName)
    {
        return Fail(text.empty() ? ERROR_PATH_NOT_FOUND : ERROR_FILENAME_EXCED_RANGE) != FALSE;
    }
    if (ParsePlain(text, m_native))
    {
        return true;
    }
    std::filesystem::path native;
    const bool done = PathToNative(WithoutDots(text), native);
    m_native = std::move(native).native();
    return done;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

bool FileName::NamesFolder() const noexcept
{
    return m_native.ends_with('/');
}

std::string FileName::Folder() const
{
    const std::string name = WithoutSeparators(m_native);
    const std::size_t last = name.rfind('/');
    return last == std::string::npos ? "." : name.substr(0, last + 1);
}

bool FileName::HasParent() const noexcept
try
{
    struct stat facts{};
    return stat(Folder().c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}
catch (const std::bad_alloc&)
{
    return false;
}

bool FileName::LeadsThroughFile() const noexcept
try
{
    struct stat facts{};
    return NamesFolder() && stat(WithoutSeparators(m_native).c_str(), &facts) == 0 && !S_ISDIR(facts.st_mode);
}
catch (const std::bad_alloc&)
{
    return false;
}

BOOL FileName::Fails(FileOperation operation) const noexcept
{
    const int error = errno;
    const DWORD code = FromErrno(error, operation);
    if (error == ENOTDIR && operation != FileOperation::RemoveFolder && LeadsThroughFile())
    {
        return Fail(ERROR_INVALID_NAME);
    }
    const bool ofName = code == ERROR_FILE_NOT_FOUND || code == ERROR_DIRECTORY; // if there is a folder for it
    return Fail(ofName && !HasParent() ? ERROR_PATH_NOT_FOUND : code);
}

} // namespace Quoll::Platform
