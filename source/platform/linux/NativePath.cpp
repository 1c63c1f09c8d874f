// Paths: drive C: is the root of the file system, and every name that the host can hold has exactly
// one spelling as wide text.
#include "core/utf/Transcoder.h"
#include "platform/linux/ErrnoTable.h"

#include <platform/case_folding.h>
#include <platform/native_path.h>

#include <algorithm>
#include <string>

namespace Quoll::Platform
{

namespace
{

using namespace Quoll::Literals;

constexpr WChar escape = 0xDC00; // and the byte that isn't text
constexpr WChar escapedBackslash = escape + '\\';

struct Mount
{
    WStringView path;
    std::string_view native;
};

// What stands at another place here.
constexpr Mount mounts[] = {{"\\windows\\system32\\drivers\\etc"_w, "/etc"}};

bool IsEscape(WChar unit) noexcept
{
    return unit == escapedBackslash || (unit >= escape + 0x80 && unit <= escape + 0xFF);
}

void AppendText(WString& path, std::string_view bytes)
{
    const std::size_t start = path.size();
    path.resize(start + bytes.size());
    std::size_t written = start;
    while (!bytes.empty())
    {
        const auto done = Utf::Decode(bytes, path.data() + written, path.size() - written);
        written += done.written;
        bytes.remove_prefix(done.read);
        if (done.outcome == Utf::Outcome::IllFormed)
        {
            path[written++] = static_cast<WChar>(escape + static_cast<unsigned char>(bytes.front()));
            bytes.remove_prefix(1);
        }
    }
    path.resize(written);
    for (std::size_t i = start; i < written; ++i)
    {
        path[i] = path[i] == '\\' ? escapedBackslash : path[i] == '/' ? WChar{'\\'} : path[i];
    }
}

bool StartsWithNoCase(WStringView text, WStringView lowerPrefix) noexcept
{
    if (text.size() < lowerPrefix.size())
    {
        return false;
    }
    for (std::size_t i = 0; i < lowerPrefix.size(); ++i)
    {
        if (ToLowerUnit(text[i]) != lowerPrefix[i])
        {
            return false;
        }
    }
    return true;
}

// False if a unit is neither text nor an escape.
bool AppendNative(std::string& native, WStringView path)
{
    while (!path.empty())
    {
        if (IsEscape(path.front()))
        {
            native += static_cast<char>(path.front() - escape);
            path.remove_prefix(1);
            continue;
        }
        std::size_t length = 0;
        while (length < path.size() &&
               (!IsEscape(path[length]) || (length > 0 && (path[length - 1] & 0xFC00) == 0xD800)))
        {
            ++length;
        }
        const std::size_t start = native.size();
        native.resize(start + 3 * length);
        const auto done = Utf::Encode(path.substr(0, length), native.data() + start, 3 * length);
        native.resize(start + done.written);
        std::replace(native.begin() + static_cast<std::ptrdiff_t>(start), native.end(), '\\', '/');
        if (done.outcome != Utf::Outcome::Complete)
        {
            return false;
        }
        path.remove_prefix(length);
    }
    return true;
}

bool HasDrive(WStringView path) noexcept
{
    const WChar letter = path.size() >= 2 && path[1] == ':' ? path[0] : WChar{};
    return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
}

// Removes what stands before the path proper. The code of the failure where that names no place.
DWORD RemovePrefix(WString& path)
{
    if (path.starts_with("\\\\?\\"_w) || path.starts_with("\\\\.\\"_w))
    {
        const bool verbatim = path[2] == '?';
        path.erase(0, 4);
        if (!verbatim || !HasDrive(path))
        {
            return verbatim && StartsWithNoCase(path, "unc\\"_w) ? ERROR_BAD_NETPATH : ERROR_INVALID_NAME;
        }
    }
    else if (path.starts_with("\\\\"_w))
    {
        return ERROR_BAD_NETPATH;
    }
    if (HasDrive(path))
    {
        if (path[0] != 'C' && path[0] != 'c')
        {
            return ERROR_PATH_NOT_FOUND;
        }
        path.erase(0, 2);
        path = path.empty() ? WString("."_w) : path; // the drive's current folder
    }
    return ERROR_SUCCESS;
}

} // namespace

WString PathFromNative(const std::filesystem::path& native)
{
    WString path;
    if (native.is_absolute())
    {
        path = "C:"_w;
    }
    AppendText(path, native.native());
    if (!native.is_absolute() && HasDrive(path))
    {
        path.insert(0, ".\\"_w); // a host name that only looks like a drive
    }
    return path;
}

bool PathToNative(WStringView path, std::filesystem::path& native)
{
    WString rest(path);
    for (WChar& unit : rest)
    {
        if (unit == 0)
        {
            return Fail(ERROR_INVALID_NAME) != FALSE;
        }
        unit = unit == '/' ? WChar{'\\'} : unit;
    }
    if (const DWORD error = RemovePrefix(rest))
    {
        return Fail(error) != FALSE;
    }
    std::string bytes;
    WStringView proper = rest;
    for (const Mount& mount : mounts)
    {
        const std::size_t length = mount.path.size();
        if (StartsWithNoCase(proper, mount.path) && (proper.size() == length || proper[length] == '\\'))
        {
            bytes = mount.native;
            proper.remove_prefix(length);
        }
    }
    std::string tail;
    WString again;
    if (AppendNative(tail, proper))
    {
        AppendText(again, tail);
    }
    // Escapes that together make valid text would give a second spelling.
    if (again != proper)
    {
        return Fail(ERROR_INVALID_NAME) != FALSE;
    }
    native = bytes + tail;
    return true;
}

} // namespace Quoll::Platform
