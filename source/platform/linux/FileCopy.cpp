#include "platform/linux/FileCopy.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileAttributes.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/FileName.h"
#include "platform/linux/FileObject.h"
#include "platform/linux/FileOpen.h"
#include "platform/linux/FileSizeLimit.h"
#include "platform/linux/HandleTable.h"

#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr std::size_t bufferSize = std::size_t{1} << 18;
constexpr std::size_t stretch = std::size_t{1} << 30; // that the host copies in one call

/// Goes on where the host's own copying has stopped: at the end, or because it can't copy between these two.
bool CopyByHand(int from, int to) noexcept
{
    const std::unique_ptr<std::byte[]> buffer(new (std::nothrow) std::byte[bufferSize]);
    if (!buffer)
    {
        return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
    }
    FileObject source(Descriptor(fcntl(from, F_DUPFD_CLOEXEC, 0)), FILE_READ_DATA, false);
    FileObject target(Descriptor(fcntl(to, F_DUPFD_CLOEXEC, 0)), FILE_WRITE_DATA, false);
    DWORD read = 0;
    DWORD written = 0;
    do
    {
        if (source.Read(buffer.get(), bufferSize, &read, nullptr) == FALSE ||
            target.Write(buffer.get(), read, &written, nullptr) == FALSE)
        {
            return false;
        }
    } while (read != 0);
    return true;
}

/// Only the system may give these, so nobody else's copy has them.
bool IsOfSystem(std::string_view name) noexcept
{
    return name.starts_with("security.") || name.starts_with("trusted.");
}

bool CopyExtendedAttribute(int from, int to, const char* name)
{
    std::string value(std::size_t{1} << 16, 0); // the host's limit
    const ssize_t size = fgetxattr(from, name, value.data(), value.size());
    if (size < 0)
    {
        return errno == ENODATA || IsOfSystem(name);
    }
    return fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) == 0 || IsOfSystem(name);
}

bool CopyExtendedAttributes(int from, int to)
{
    std::string names(std::size_t{1} << 16, 0); // the host's limit
    const ssize_t size = flistxattr(from, names.data(), names.size());
    names.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    for (std::size_t i = 0; i < names.size(); i = names.find('\0', i) + 1)
    {
        if (!CopyExtendedAttribute(from, to, names.data() + i))
        {
            return false;
        }
    }
    return size >= 0 || errno == EOPNOTSUPP;
}

/// A copy is no more open than the file, and can be run if that can.
bool GiveRightsOf(const struct statx& source, int copy) noexcept
{
    struct stat facts{};
    if (fstat(copy, &facts) != 0)
    {
        return false;
    }
    const mode_t running = (facts.st_mode & (S_IRUSR | S_IRGRP | S_IROTH)) >> 2;
    const mode_t most = (source.stx_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) | S_IWUSR;
    return fchmod(copy, (facts.st_mode | running) & most) == 0;
}

class Copying
{
public:
    Copying(LPCWSTR source, LPCWSTR target, bool keepsTarget) noexcept
        : m_source(source)
        , m_target(target)
        , m_keepsTarget(keepsTarget)
    {
    }
    Copying(const Copying&) = delete;
    Copying& operator=(const Copying&) = delete;
    ~Copying()
    {
        for (const HANDLE handle : {m_from, m_to})
        {
            if (handle != INVALID_HANDLE_VALUE)
            {
                HandleTable::Close(handle);
            }
        }
    }

    bool Run() noexcept
    {
        return OpenSource() && OpenTarget() && (Fill() || Undo());
    }

private:
    bool OpenSource() noexcept;
    bool OpenTarget() noexcept;
    bool Fill() noexcept;
    bool Undo() noexcept;

    LPCWSTR m_source;
    LPCWSTR m_target;
    bool m_keepsTarget;
    bool m_replaced = false;
    struct statx m_facts;
    DWORD m_attributes = 0;
    HANDLE m_from = INVALID_HANDLE_VALUE;
    HANDLE m_to = INVALID_HANDLE_VALUE;
};

bool Copying::OpenSource() noexcept
{
    m_from = OpenFileByName(m_source, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                            FILE_FLAG_SEQUENTIAL_SCAN);
    if (m_from == INVALID_HANDLE_VALUE)
    {
        return false;
    }
    const Pinned<FileObject> from(m_from);
    if (!from)
    {
        return false;
    }
    if (!ReadFacts(from->File(), m_facts))
    {
        return FailWithErrno() != FALSE;
    }
    m_attributes = ReadAttributes(from->File(), m_facts) & settableAttributes;
    return true;
}

bool Copying::OpenTarget() noexcept
{
    FileName target;
    struct statx facts;
    if (!target.Parse(m_target))
    {
        return false;
    }
    if (!m_keepsTarget && ReadFacts(target.Native(), facts) && IsSameFile(facts, m_facts))
    {
        return Fail(ERROR_SHARING_VIOLATION) != FALSE; // the file itself
    }
    m_to = OpenFileByName(m_target, GENERIC_WRITE, FILE_SHARE_READ, nullptr, m_keepsTarget ? CREATE_NEW : CREATE_ALWAYS,
                          m_attributes & ~FILE_ATTRIBUTE_READONLY, (m_facts.stx_mode & forEverybody) | S_IWUSR);
    m_replaced = GetLastError() == ERROR_ALREADY_EXISTS;
    return m_to != INVALID_HANDLE_VALUE;
}

bool Copying::Fill() noexcept
{
    const Pinned<FileObject> from(m_from);
    const Pinned<FileObject> to(m_to);
    if (!from || !to || !CopyContents(from->File(), to->File()))
    {
        return false;
    }
    struct statx facts;
    const std::array<timespec, 2> times = {timespec{0, UTIME_OMIT}, ToHostTime(m_facts.stx_mtime)};
    if ((!m_replaced && !GiveRightsOf(m_facts, to->File())) || !ReadFacts(to->File(), facts) ||
        (S_ISREG(facts.stx_mode) && futimens(to->File(), times.data()) != 0))
    {
        return FailWithErrno() != FALSE;
    }
    return !S_ISREG(facts.stx_mode) || StoreAttributes(to->File(), facts, m_attributes);
}

/// No part of a copy is taken for the whole.
bool Copying::Undo() noexcept
{
    const DWORD code = GetLastError();
    const Pinned<FileObject> to(m_to);
    FileName target;
    struct statx made;
    struct statx named;
    if (to && ReadFacts(to->File(), made) && S_ISREG(made.stx_mode))
    {
        // Other names may lead to the file, and the name elsewhere by now.
        [[maybe_unused]] const int emptied = ftruncate(to->File(), 0);
        if (target.Parse(m_target) && ReadNameFacts(target.Native(), named) && IsSameFile(made, named))
        {
            unlink(target.Native());
        }
    }
    return Fail(code) != FALSE;
}

} // namespace

bool CopyContents(int from, int to) noexcept
{
    const FileSizeSignalGuard guard(HasFileSizeLimit());
    ssize_t copied = 0;
    do
    {
        copied = copy_file_range(from, nullptr, to, nullptr, stretch, 0);
    } while (copied > 0 || (copied < 0 && errno == EINTR));
    const bool full = copied < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EIO || errno == EFBIG);
    return full ? Fail(FromErrno(errno, FileOperation::Transfer)) != FALSE : CopyByHand(from, to);
}

bool CopyIdentity(const struct statx& facts, int from, int to) noexcept
try
{
    // Who isn't allowed to give a file away keeps it, and it doesn't act in another's name.
    const bool given = fchown(to, facts.stx_uid, facts.stx_gid) == 0;
    const mode_t rights = facts.stx_mode & (given ? 07777 : 01777);
    const std::array<timespec, 2> times = {ToHostTime(facts.stx_atime), ToHostTime(facts.stx_mtime)};
    const bool done = fchmod(to, rights | S_IWUSR) == 0 && CopyExtendedAttributes(from, to) &&
                      fchmod(to, rights) == 0 && futimens(to, times.data()) == 0;
    return done || FailWithErrno() != FALSE;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

} // namespace Quoll::Platform

BOOL CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists) noexcept
{
    using namespace Quoll::Platform;
    if (source == nullptr || target == nullptr)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    return Copying(source, target, failIfExists != FALSE).Run() ? TRUE : FALSE;
}
