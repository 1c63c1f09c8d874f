// The folder of temporary files, and names in it that nobody has.
#include "platform/linux/Descriptor.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileFacts.h"
#include "platform/linux/FileName.h"

#include <platform/native_path.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <random>

#include <fcntl.h>

namespace Quoll::Platform
{
namespace
{

using namespace Quoll::Literals;

constexpr UINT numbers = 0x10000;
constexpr std::size_t longestPrefix = 3;
constexpr std::size_t longestFileName = longestPrefix + 8; // four digits and the extension

WString TemporaryFolder()
{
    // A privileged process takes no place from those who started it.
    const char* const given = secure_getenv("TMPDIR");
    WString folder = PathFromNative(given != nullptr && given[0] == '/' ? given : "/tmp");
    if (folder.back() != '\\')
    {
        folder.push_back('\\');
    }
    return folder;
}

WString NameOf(WStringView folder, WStringView prefix, UINT number)
{
    std::array<char, 16> digits{};
    const int length = std::snprintf(digits.data(), digits.size(), "%X.tmp", number);
    WString name(folder);
    if (name.back() != '\\' && name.back() != '/')
    {
        name.push_back('\\');
    }
    name.append(prefix);
    name.append(digits.begin(), digits.begin() + length);
    return name;
}

bool CheckFolder(WStringView folder)
{
    FileName name;
    struct statx facts;
    const bool there =
        !folder.empty() && name.Parse(WString(folder).c_str()) && ReadFacts(name.Native(), facts) && IsFolder(facts);
    if (there && folder.size() > MAX_PATH - 1 - 1 - longestFileName)
    {
        return Fail(ERROR_BUFFER_OVERFLOW) != FALSE;
    }
    return there || Fail(ERROR_DIRECTORY) != FALSE;
}

/// Gives a number whose name was free, and is taken now; 0 with the last error set.
UINT MakeUnique(WStringView folder, WStringView prefix)
{
    const UINT first = std::random_device{}();
    for (UINT i = 0; i < numbers; ++i)
    {
        const UINT number = std::max<UINT>((first + i) % numbers, 1);
        FileName name;
        if (!name.Parse(NameOf(folder, prefix, number).c_str()))
        {
            return 0;
        }
        const Descriptor file(open(name.Native(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (file)
        {
            return number;
        }
        if (errno != EEXIST)
        {
            name.Fails(FileOperation::Create);
            return 0;
        }
    }
    Fail(ERROR_FILE_EXISTS);
    return 0;
}

} // namespace
} // namespace Quoll::Platform

using namespace Quoll;
using namespace Quoll::Literals;
using namespace Quoll::Platform;

DWORD GetTempPathW(DWORD capacity, LPWSTR buffer) noexcept
try
{
    const WString folder = TemporaryFolder();
    const auto length = static_cast<DWORD>(folder.size());
    if (buffer == nullptr || capacity <= length)
    {
        return length + 1;
    }
    std::copy_n(folder.c_str(), folder.size() + 1, buffer);
    return length;
}
catch (const std::bad_alloc&)
{
    Fail(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}

UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR name) noexcept
try
{
    if (folder == nullptr || name == nullptr)
    {
        Fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const WStringView place(folder);
    const WStringView start = WStringView(prefix != nullptr ? prefix : ""_w.data()).substr(0, longestPrefix);
    if (!CheckFolder(place))
    {
        return 0;
    }
    const UINT used = number % numbers != 0 ? number % numbers : MakeUnique(place, start);
    if (used != 0)
    {
        const WString whole = NameOf(place, start, used);
        std::copy_n(whole.c_str(), whole.size() + 1, name);
    }
    return used;
}
catch (const std::bad_alloc&)
{
    Fail(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}
