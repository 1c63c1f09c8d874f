#include "platform/linux/FileAttributes.h"

#include "platform/linux/Descriptor.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileName.h"

#include <platform/file_probe.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>

#include <fcntl.h>
#include <sys/xattr.h>

namespace Quoll::Platform
{

namespace
{

constexpr const char* attributeName = "user.quoll.attributes";
constexpr std::size_t longestValue = 8; // hexadecimal digits

using Value = std::array<char, longestValue + 1>;

// A file's READONLY is its mode. A folder's is a mere remark, for it doesn't keep files from coming and going.
DWORD StoredMask(const struct statx& facts) noexcept
{
    return IsFolder(facts) ? settableAttributes : settableAttributes & ~FILE_ATTRIBUTE_READONLY;
}

DWORD StoredByDefault(const struct statx& facts) noexcept
{
    return IsFolder(facts) ? 0 : FILE_ATTRIBUTE_ARCHIVE;
}

// A value that isn't there, can't be read or isn't ours stands for the default.
DWORD Parse(const Value& value, ssize_t length, const struct statx& facts) noexcept
{
    DWORD stored = 0;
    const char* const end = value.data() + (length > 0 ? length : 0);
    const auto parsed = std::from_chars(value.data(), end, stored, 16);
    const bool whole = length > 0 && parsed.ec == std::errc() && parsed.ptr == end;
    return whole ? stored & StoredMask(facts) : StoredByDefault(facts);
}

DWORD Assemble(const struct statx& facts, DWORD stored) noexcept
{
    DWORD attributes = stored;
    attributes |= IsReadOnly(facts) ? FILE_ATTRIBUTE_READONLY : 0;
    attributes |= IsFolder(facts) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    attributes |= (facts.stx_attributes & STATX_ATTR_COMPRESSED) != 0 ? FILE_ATTRIBUTE_COMPRESSED : 0;
    attributes |= (facts.stx_attributes & STATX_ATTR_ENCRYPTED) != 0 ? FILE_ATTRIBUTE_ENCRYPTED : 0;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

bool CanHoldAttributes(const struct statx& facts) noexcept
{
    return S_ISREG(facts.stx_mode) || S_ISDIR(facts.stx_mode);
}

bool StoreMask(FilePlace place, DWORD wanted, DWORD byDefault) noexcept
{
    if (wanted == byDefault)
    {
        const int removed = place.path != nullptr ? removexattr(place.path, attributeName)
                                                  : fremovexattr(place.descriptor, attributeName);
        return removed == 0 || errno == ENODATA || errno == EOPNOTSUPP;
    }
    Value value{};
    const auto length = static_cast<std::size_t>(std::snprintf(value.data(), value.size(), "%x", wanted));
    const int stored = place.path != nullptr ? setxattr(place.path, attributeName, value.data(), length, 0)
                                             : fsetxattr(place.descriptor, attributeName, value.data(), length, 0);
    return stored == 0 || (errno == EOPNOTSUPP && wanted == 0); // ARCHIVE stays where nothing can be kept
}

bool StoreMode(FilePlace place, mode_t mode) noexcept
{
    return (place.path != nullptr ? chmod(place.path, mode & 07777) : fchmod(place.descriptor, mode & 07777)) == 0;
}

} // namespace

DWORD ReadAttributes(FilePlace place, const struct statx& facts) noexcept
{
    if (!CanHoldAttributes(facts))
    {
        return FILE_ATTRIBUTE_DEVICE;
    }
    Value value;
    const ssize_t length = place.path != nullptr
                               ? getxattr(place.path, attributeName, value.data(), longestValue)
                               : fgetxattr(place.descriptor, attributeName, value.data(), longestValue);
    return Assemble(facts, Parse(value, length, facts));
}

bool StoreAttributes(FilePlace place, const struct statx& facts, DWORD attributes) noexcept
{
    if (!CanHoldAttributes(facts))
    {
        return Fail(ERROR_ACCESS_DENIED) != FALSE;
    }
    const DWORD mask = StoredMask(facts);
    const bool changesMask = ((ReadAttributes(place, facts) ^ attributes) & mask) != 0;
    const bool wasReadOnly = IsReadOnly(facts);
    const bool isReadOnly = S_ISREG(facts.stx_mode) && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    // The extended attribute can be written only as long as the file can.
    const bool opens = wasReadOnly && (changesMask || !isReadOnly);
    bool done = (!opens || StoreMode(place, facts.stx_mode | S_IWUSR)) &&
                (!changesMask || StoreMask(place, attributes & mask, StoredByDefault(facts)));
    const int failure = done ? 0 : errno;
    if ((done ? isReadOnly : wasReadOnly) && (opens || !wasReadOnly))
    {
        constexpr mode_t writing = S_IWUSR | S_IWGRP | S_IWOTH;
        done = StoreMode(place, facts.stx_mode & ~writing) && done;
    }
    errno = failure != 0 ? failure : errno;
    return done || FailWithErrno() != FALSE;
}

namespace
{

/// False with the last error set.
bool FindFile(LPCWSTR name, FileName& file, struct statx& facts) noexcept
{
    return file.Parse(name) && (ReadFacts(file.Native(), facts) || file.Fails(FileOperation::Open) != FALSE);
}

DWORD AttributesOfMode(const struct statx& facts) noexcept
{
    return CanHoldAttributes(facts) ? Assemble(facts, 0) : FILE_ATTRIBUTE_DEVICE;
}

WIN32_FILE_ATTRIBUTE_DATA Describe(const struct statx& facts, DWORD attributes) noexcept
{
    const std::uint64_t size = IsFolder(facts) ? 0 : facts.stx_size;
    return {.dwFileAttributes = attributes,
            .ftCreationTime = CreationTime(facts),
            .ftLastAccessTime = ToFileTime(facts.stx_atime),
            .ftLastWriteTime = ToFileTime(facts.stx_mtime),
            .nFileSizeHigh = static_cast<DWORD>(size >> 32),
            .nFileSizeLow = static_cast<DWORD>(size)};
}

} // namespace

DWORD ProbeAttributes(LPCWSTR name) noexcept
{
    FileName file;
    struct statx facts;
    return FindFile(name, file, facts) ? AttributesOfMode(facts) : INVALID_FILE_ATTRIBUTES;
}

BOOL ProbeFile(LPCWSTR name, WIN32_FILE_ATTRIBUTE_DATA& data) noexcept
{
    FileName file;
    struct statx facts;
    if (!FindFile(name, file, facts))
    {
        return FALSE;
    }
    data = Describe(facts, AttributesOfMode(facts));
    return TRUE;
}

} // namespace Quoll::Platform

using namespace Quoll::Platform;

DWORD GetFileAttributesW(LPCWSTR name) noexcept
{
    FileName file;
    struct statx facts;
    return FindFile(name, file, facts) ? ReadAttributes(file.Native(), facts) : INVALID_FILE_ATTRIBUTES;
}

BOOL GetFileAttributesExW(LPCWSTR name, GET_FILEEX_INFO_LEVELS level, LPVOID data) noexcept
{
    if (level != GetFileExInfoStandard || data == nullptr)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    FileName file;
    struct statx facts;
    if (!FindFile(name, file, facts))
    {
        return FALSE;
    }
    *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(data) = Describe(facts, ReadAttributes(file.Native(), facts));
    return TRUE;
}

BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept
{
    FileName file;
    if (!file.Parse(name))
    {
        return FALSE;
    }
    // What changes is the file that was looked at, wherever its name leads by then.
    const Descriptor found(open(file.Native(), O_PATH | O_CLOEXEC));
    if (!found)
    {
        return file.Fails(FileOperation::Open);
    }
    struct statx facts;
    std::array<char, 32> place{};
    std::snprintf(place.data(), place.size(), "/proc/self/fd/%d", found.Get());
    if (!ReadFacts(found.Get(), facts))
    {
        return FailWithErrno();
    }
    return StoreAttributes(place.data(), facts, attributes) ? TRUE : FALSE;
}
