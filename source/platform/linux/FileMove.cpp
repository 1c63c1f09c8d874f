// Moving and renaming.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileFacts.h"
#include "platform/linux/FileName.h"
#include "platform/linux/FileSharing.h"
#include "platform/linux/FileTransplant.h"

#include <cerrno>
#include <new>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace Quoll::Platform
{
namespace
{

constexpr DWORD knownFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_DELAY_UNTIL_REBOOT |
                             MOVEFILE_WRITE_THROUGH | MOVEFILE_CREATE_HARDLINK | MOVEFILE_FAIL_IF_NOT_TRACKABLE;

class Moving
{
public:
    explicit Moving(DWORD flags) noexcept
        : m_replaces((flags & MOVEFILE_REPLACE_EXISTING) != 0)
        , m_copies((flags & MOVEFILE_COPY_ALLOWED) != 0)
        , m_flushes((flags & MOVEFILE_WRITE_THROUGH) != 0)
    {
    }

    bool Run(LPCWSTR source, LPCWSTR target) noexcept
    {
        return m_source.Parse(source) && m_target.Parse(target) && Look() && (m_isDone || (Ask() && Go()));
    }

private:
    bool Look() noexcept;
    bool LookAtTarget(const struct statx& target);
    bool AreOneName() const;
    bool Ask() noexcept;
    bool Go() noexcept;
    void Flush() const noexcept;

    const bool m_replaces;
    const bool m_copies;
    const bool m_flushes;
    FileName m_source;
    FileName m_target;
    struct statx m_facts;
    bool m_targetExists = false;
    bool m_isDone = false;
    Descriptor m_sourceGuard;
    Descriptor m_targetGuard;
};

bool Moving::Look() noexcept
try
{
    if (!ReadNameFacts(m_source.Native(), m_facts))
    {
        return m_source.Fails(FileOperation::Open) != FALSE;
    }
    struct statx target;
    m_targetExists = ReadNameFacts(m_target.Native(), target);
    if (m_targetExists)
    {
        return LookAtTarget(target);
    }
    if (m_target.NamesFolder() && !IsFolder(m_facts))
    {
        return Fail(ERROR_INVALID_NAME) != FALSE;
    }
    return true;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

bool Moving::LookAtTarget(const struct statx& target)
{
    m_isDone = IsSameFile(m_facts, target) && AreOneName();
    if (m_isDone)
    {
        return true;
    }
    if (!m_replaces)
    {
        return Fail(ERROR_ALREADY_EXISTS) != FALSE;
    }
    return (!IsFolder(m_facts) && !IsFolder(target) && !IsReadOnly(target)) || Fail(ERROR_ACCESS_DENIED) != FALSE;
}

/// One file may have several names, of which one takes the other's place.
bool Moving::AreOneName() const
{
    struct statx sourceFolder;
    struct statx targetFolder;
    const auto last = [](std::string name) {
        while (name.size() > 1 && name.ends_with('/'))
        {
            name.pop_back();
        }
        return name.substr(name.rfind('/') + 1);
    };
    return m_facts.stx_nlink == 1 || IsFolder(m_facts) ||
           (last(m_source.Native()) == last(m_target.Native()) && ReadFacts(m_source.Folder().c_str(), sourceFolder) &&
            ReadFacts(m_target.Folder().c_str(), targetFolder) && IsSameFile(sourceFolder, targetFolder));
}

bool Moving::Ask() noexcept
{
    const bool opens = S_ISREG(m_facts.stx_mode) || IsFolder(m_facts);
    if (opens && !GuardDeletion(m_source.Native(), m_sourceGuard))
    {
        return false;
    }
    struct statx target;
    const bool isAnother = m_targetExists && ReadNameFacts(m_target.Native(), target) && !IsSameFile(m_facts, target);
    if (isAnother && S_ISREG(target.stx_mode) && !GuardDeletion(m_target.Native(), m_targetGuard, true))
    {
        return Fail(GetLastError() == ERROR_SHARING_VIOLATION ? ERROR_ACCESS_DENIED : GetLastError()) != FALSE;
    }
    return true;
}

bool Moving::Go() noexcept
{
    if (Rename(m_source.Native(), m_target.Native(), m_replaces))
    {
        if (m_targetExists)
        {
            // The host leaves both names of one file alone.
            struct statx left;
            struct statx target;
            if (ReadNameFacts(m_source.Native(), left) && ReadNameFacts(m_target.Native(), target) &&
                IsSameFile(left, target))
            {
                unlink(m_source.Native());
            }
        }
        Flush();
        return true;
    }
    if (errno == EXDEV && m_copies && !IsFolder(m_facts))
    {
        return Transplant(m_source, m_target, m_replaces);
    }
    if (errno == EXDEV && m_copies)
    {
        return Fail(ERROR_ACCESS_DENIED) != FALSE;
    }
    return m_target.Fails(FileOperation::Move) != FALSE;
}

void Moving::Flush() const noexcept
try
{
    if (m_flushes)
    {
        const Descriptor folder(open(m_target.Folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        fsync(folder.Get());
    }
}
catch (const std::bad_alloc&)
{
    sync();
}

} // namespace
} // namespace Quoll::Platform

using namespace Quoll::Platform;

BOOL MoveFileW(LPCWSTR source, LPCWSTR target) noexcept
{
    return Moving(MOVEFILE_COPY_ALLOWED).Run(source, target) ? TRUE : FALSE;
}

BOOL MoveFileExW(LPCWSTR source, LPCWSTR target, DWORD flags) noexcept
{
    constexpr DWORD notTogether = MOVEFILE_COPY_ALLOWED | MOVEFILE_DELAY_UNTIL_REBOOT;
    if ((flags & ~knownFlags) != 0 || (flags & notTogether) == notTogether)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if ((flags & (MOVEFILE_DELAY_UNTIL_REBOOT | MOVEFILE_CREATE_HARDLINK)) != 0)
    {
        return Fail(ERROR_NOT_SUPPORTED);
    }
    return Moving(flags).Run(source, target) ? TRUE : FALSE;
}
