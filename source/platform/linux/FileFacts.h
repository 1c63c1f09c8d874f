// What the host knows of a file, in the platform's terms.
#pragma once

#include <windows.h>

#include <sys/stat.h>

namespace Quoll::Platform
{

/// A file to look at or to change: the one that a name leads to, or an open one.
struct FilePlace
{
    // NOLINTNEXTLINE(google-explicit-constructor): either is a place by itself
    FilePlace(const char* name) noexcept
        : path(name)
    {
    }
    // NOLINTNEXTLINE(google-explicit-constructor)
    FilePlace(int file) noexcept
        : descriptor(file)
    {
    }

    const char* path = nullptr;
    int descriptor = -1;
};

/// False with errno set.
bool ReadFacts(FilePlace place, struct statx& facts) noexcept;
/// Of the name itself, be it a link's.
bool ReadNameFacts(const char* name, struct statx& facts) noexcept;

bool IsFolder(const struct statx& facts) noexcept;
/// A file with no right to write.
bool IsReadOnly(const struct statx& facts) noexcept;
/// Neither a file nor a folder nor the null device: nothing that is opened by name.
bool IsSpecial(const struct statx& facts) noexcept;

/// Whether two names, or handles, lead to one file.
bool IsSameFile(const struct statx& first, const struct statx& second) noexcept;

timespec ToHostTime(const statx_timestamp& time) noexcept;
FILETIME ToFileTime(const statx_timestamp& time) noexcept;
FILETIME CreationTime(const struct statx& facts) noexcept;
/// False for a moment that is no file time.
bool FromFileTime(const FILETIME& time, timespec& moment) noexcept;

} // namespace Quoll::Platform
