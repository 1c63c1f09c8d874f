// Opening and making files by name.
//
// The name is looked at first and opened afterwards, so that no device is opened only to be refused; what
// was opened is looked at again, for the name may lead elsewhere by then. Nothing waits: pipes and
// devices would be opened without blocking.
#include "platform/linux/FileOpen.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileAttributes.h"
#include "platform/linux/FileName.h"
#include "platform/linux/FileObject.h"
#include "platform/linux/FileSharing.h"
#include "platform/linux/HandleTable.h"

#include <cerrno>
#include <new>

#include <fcntl.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr int attempts = 16; // while others make and remove the name

constexpr DWORD readingRights = FILE_READ_DATA | FILE_EXECUTE;
constexpr DWORD writingRights = FILE_WRITE_DATA | FILE_APPEND_DATA;
constexpr DWORD knownFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_RANDOM_ACCESS |
                             FILE_FLAG_OVERLAPPED | FILE_FLAG_WRITE_THROUGH;
constexpr DWORD knownAttributes = settableAttributes | FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_DIRECTORY;

DWORD SingleRights(DWORD access) noexcept
{
    constexpr struct
    {
        DWORD generic;
        DWORD rights;
    } rows[] = {{GENERIC_READ, FILE_GENERIC_READ},
                {GENERIC_WRITE, FILE_GENERIC_WRITE},
                {GENERIC_EXECUTE, FILE_GENERIC_EXECUTE},
                {GENERIC_ALL, FILE_ALL_ACCESS}};
    for (const auto& row : rows)
    {
        access = (access & row.generic) != 0 ? (access & ~row.generic) | row.rights : access;
    }
    return access;
}

class Opening
{
public:
    explicit Opening(mode_t most) noexcept
        : m_most(most)
    {
    }

    bool Prepare(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                 DWORD flags) noexcept;
    bool Run() noexcept;
    HANDLE GiveHandle() noexcept;

private:
    enum class Outcome
    {
        Done,
        Failed,
        Again ///< the name came or went in the meantime
    };

    bool Empties() const noexcept
    {
        return m_disposition == CREATE_ALWAYS || m_disposition == TRUNCATE_EXISTING;
    }
    bool MayCreate() const noexcept
    {
        return m_disposition != OPEN_EXISTING && m_disposition != TRUNCATE_EXISTING;
    }
    bool OnlyDeletes() const noexcept
    {
        return (m_access & (readingRights | writingRights)) == 0 && (m_access & DELETE) != 0;
    }
    int HostFlags(bool existing) const noexcept;
    bool AdmitsAttributes(const struct statx& facts) const noexcept;

    Outcome Try() noexcept;
    Outcome Create() noexcept;
    Outcome OpenExisting(const struct statx& facts) noexcept;
    Outcome OpenFolder() noexcept;
    Outcome Accept() noexcept;
    bool Empty() noexcept;
    bool FurnishNew(bool isBehindLink) noexcept;
    Outcome Fails(DWORD code) noexcept;

    const mode_t m_most;
    FileName m_name;
    DWORD m_access = 0;
    DWORD m_shareMode = 0;
    DWORD m_disposition = 0;
    DWORD m_flags = 0;
    bool m_openToEverybody = false;
    bool m_existed = false;
    Descriptor m_file;
};

bool Opening::Prepare(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                      DWORD flags) noexcept
{
    m_access = SingleRights(access) | FILE_READ_ATTRIBUTES | SYNCHRONIZE; // which nobody has to ask for
    m_shareMode = shareMode;
    m_disposition = disposition;
    m_flags = flags;
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING ||
        (shareMode & ~(FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE)) != 0 ||
        (disposition == TRUNCATE_EXISTING && (access & (GENERIC_WRITE | GENERIC_ALL)) == 0))
    {
        return Fail(ERROR_INVALID_PARAMETER) != FALSE;
    }
    if ((m_access & ~FILE_ALL_ACCESS) != 0 || (flags & ~(knownFlags | knownAttributes)) != 0)
    {
        return Fail(ERROR_NOT_SUPPORTED) != FALSE;
    }
    if (attributes != nullptr && attributes->lpSecurityDescriptor != nullptr)
    {
        const auto& descriptor = *static_cast<const SECURITY_DESCRIPTOR*>(attributes->lpSecurityDescriptor);
        m_openToEverybody = (descriptor.Control & SE_DACL_PRESENT) != 0;
    }
    return m_name.Parse(name);
}

Opening::Outcome Opening::Fails(DWORD code) noexcept
{
    Fail(code);
    return Outcome::Failed;
}

bool Opening::Run() noexcept
{
    Outcome outcome = Outcome::Again;
    for (int i = 0; i < attempts && outcome == Outcome::Again; ++i)
    {
        outcome = Try();
    }
    return outcome == Outcome::Again ? Fail(ERROR_SHARING_VIOLATION) != FALSE : outcome == Outcome::Done;
}

Opening::Outcome Opening::Try() noexcept
{
    struct statx facts;
    if (ReadFacts(m_name.Native(), facts))
    {
        return OpenExisting(facts);
    }
    if (errno != ENOENT || !MayCreate())
    {
        m_name.Fails(FileOperation::Open);
        return Outcome::Failed;
    }
    return m_name.NamesFolder() ? Fails(ERROR_INVALID_NAME) : Create();
}

int Opening::HostFlags(bool existing) const noexcept
{
    const bool writes = (m_access & writingRights) != 0 || (existing && Empties());
    const bool reads = (m_access & readingRights) != 0;
    int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    if (existing && !reads && !writes && !OnlyDeletes())
    {
        return O_CLOEXEC | O_PATH;
    }
    flags |= !writes ? O_RDONLY : reads ? O_RDWR : O_WRONLY;
    flags |= (m_access & writingRights) == FILE_APPEND_DATA ? O_APPEND : 0;
    flags |= (m_flags & FILE_FLAG_WRITE_THROUGH) != 0 ? O_DSYNC : 0;
    return flags;
}

Opening::Outcome Opening::Create() noexcept
{
    const int flags = HostFlags(false) | O_CREAT;
    m_file = Descriptor(open(m_name.Native(), flags | O_EXCL, m_most));
    struct statx facts;
    const bool isLink = !m_file && errno == EEXIST && m_disposition != CREATE_NEW;
    if (isLink)
    {
        if (!ReadNameFacts(m_name.Native(), facts) || !S_ISLNK(facts.stx_mode))
        {
            return Outcome::Again;
        }
        m_file = Descriptor(open(m_name.Native(), flags, m_most)); // where it leads
    }
    if (!m_file)
    {
        m_name.Fails(FileOperation::Create);
        return Outcome::Failed;
    }
    // By now the link may lead to another's file, which is no new one.
    if (isLink && (!ReadFacts(m_file.Get(), facts) || facts.stx_size != 0 || facts.stx_nlink != 1))
    {
        return Outcome::Again;
    }
    return DeclareSharing(m_file.Get(), m_access, m_shareMode) && FurnishNew(isLink) ? Outcome::Done : Outcome::Failed;
}

bool Opening::FurnishNew(bool isBehindLink) noexcept
{
    struct statx facts;
    const bool done = (!m_openToEverybody || fchmod(m_file.Get(), forEverybody) == 0) && ReadFacts(m_file.Get(), facts);
    if ((done || FailWithErrno()) && StoreAttributes(m_file.Get(), facts, m_flags | FILE_ATTRIBUTE_ARCHIVE))
    {
        return true;
    }
    const DWORD code = GetLastError();
    if (!isBehindLink)
    {
        unlink(m_name.Native());
    }
    return Fail(code) != FALSE;
}

// To replace a hidden or a system file, one has to name it so.
bool Opening::AdmitsAttributes(const struct statx& facts) const noexcept
{
    constexpr DWORD marks = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const bool writes = (m_access & writingRights) != 0 || Empties();
    return (!writes || !IsReadOnly(facts)) &&
           (m_disposition != CREATE_ALWAYS || (ReadAttributes(m_name.Native(), facts) & marks & ~m_flags) == 0);
}

Opening::Outcome Opening::OpenExisting(const struct statx& facts) noexcept
{
    if (m_disposition == CREATE_NEW)
    {
        return Fails(ERROR_FILE_EXISTS);
    }
    if (IsFolder(facts))
    {
        return OpenFolder();
    }
    if (IsSpecial(facts) || !AdmitsAttributes(facts))
    {
        return Fails(ERROR_ACCESS_DENIED);
    }
    m_existed = true;
    m_file = Descriptor(open(m_name.Native(), HostFlags(true)));
    if (!m_file && errno == EACCES && OnlyDeletes())
    {
        m_file = Descriptor(open(m_name.Native(), O_PATH | O_CLOEXEC)); // which takes no part in sharing
    }
    if (!m_file)
    {
        if (errno == ENOENT && MayCreate())
        {
            return Outcome::Again;
        }
        m_name.Fails(FileOperation::Open);
        return Outcome::Failed;
    }
    const Outcome outcome = Accept();
    return outcome != Outcome::Done || !Empties() || Empty() ? outcome : Outcome::Failed;
}

Opening::Outcome Opening::Accept() noexcept
{
    struct statx facts;
    if (!ReadFacts(m_file.Get(), facts))
    {
        return Fails(FromErrno(errno));
    }
    if (IsFolder(facts) || IsSpecial(facts))
    {
        return Fails(ERROR_ACCESS_DENIED);
    }
    if (!S_ISREG(facts.stx_mode))
    {
        return Outcome::Done;
    }
    if (!DeclareSharing(m_file.Get(), m_access, m_shareMode, Empties() ? FILE_WRITE_DATA : 0))
    {
        return Outcome::Failed;
    }
    // Whoever deletes the file declares that, too. Only from here on one would be seen.
    struct statx named;
    const bool gone = ReadFacts(m_file.Get(), facts) && facts.stx_nlink == 0 &&
                      (!ReadFacts(m_name.Native(), named) || !IsSameFile(named, facts));
    return gone ? Outcome::Again : Outcome::Done;
}

bool Opening::Empty() noexcept
{
    struct statx facts;
    if ((ftruncate(m_file.Get(), 0) != 0 && errno != EINVAL) || !ReadFacts(m_file.Get(), facts)) // the null device
    {
        return FailWithErrno() != FALSE;
    }
    return m_disposition != CREATE_ALWAYS || !S_ISREG(facts.stx_mode) ||
           StoreAttributes(m_file.Get(), facts, m_flags | FILE_ATTRIBUTE_ARCHIVE);
}

Opening::Outcome Opening::OpenFolder() noexcept
{
    const bool asFolder = (m_flags & FILE_FLAG_BACKUP_SEMANTICS) != 0;
    if (!asFolder || Empties())
    {
        return Fails(asFolder ? ERROR_FILE_EXISTS : ERROR_ACCESS_DENIED);
    }
    m_existed = true;
    const bool plain = (m_access & (readingRights | writingRights | DELETE)) != 0;
    m_file = Descriptor(open(m_name.Native(), (plain ? O_RDONLY : O_PATH) | O_DIRECTORY | O_CLOEXEC));
    if (!m_file)
    {
        m_name.Fails(FileOperation::Open);
        return Outcome::Failed;
    }
    return DeclareSharing(m_file.Get(), m_access, m_shareMode) ? Outcome::Done : Outcome::Failed;
}

HANDLE Opening::GiveHandle() noexcept
{
    if ((m_flags & FILE_FLAG_SEQUENTIAL_SCAN) != 0)
    {
        posix_fadvise(m_file.Get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    if ((m_flags & FILE_FLAG_RANDOM_ACCESS) != 0)
    {
        posix_fadvise(m_file.Get(), 0, 0, POSIX_FADV_RANDOM);
    }
    const bool overlapped = (m_flags & FILE_FLAG_OVERLAPPED) != 0;
    auto* const object = new (std::nothrow) FileObject(std::move(m_file), m_access, overlapped);
    if (object == nullptr)
    {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    const HANDLE handle = HandleTable::Insert(Ref<Object>(Ref<FileObject>::Adopt(object).Get()));
    if (handle == nullptr)
    {
        return INVALID_HANDLE_VALUE;
    }
    const bool told = m_disposition == CREATE_ALWAYS || m_disposition == OPEN_ALWAYS;
    SetLastError(m_existed && told ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

} // namespace

HANDLE OpenFileByName(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                      DWORD flags, mode_t most) noexcept
{
    Opening opening(most);
    const bool done = opening.Prepare(name, access, shareMode, attributes, disposition, flags) && opening.Run();
    return done ? opening.GiveHandle() : INVALID_HANDLE_VALUE;
}

} // namespace Quoll::Platform
