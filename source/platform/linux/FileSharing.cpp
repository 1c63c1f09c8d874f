// Each opener holds a lock on one byte far behind the file's data, whose place tells the mode: eight
// kinds of access, times eight of sharing. The kernel drops the locks of open file descriptions at
// their end, however it comes.
//
// Nobody can lock others out while he looks around, for those who only read can take only read locks.
// So an opener first puts its mode among the pending ones, then looks at all others, and then puts it
// among the held ones. Of two that come at the same time at least one sees the other. A mode that is
// held decides; two that are pending both step back and try again after a random while.
#include "platform/linux/FileSharing.h"

#include "platform/linux/Deadline.h"
#include "platform/linux/ErrnoTable.h"

#include <cerrno>
#include <random>

#include <fcntl.h>
#include <sched.h>

namespace Quoll::Platform
{

namespace
{

constexpr off_t modeCount = 64;
constexpr off_t widthOfMode = off_t{1} << 20;
constexpr off_t widthOfRegion = modeCount * widthOfMode;
constexpr off_t pendingRegion = off_t{1} << 62;
constexpr off_t heldRegion = pendingRegion + widthOfRegion;

constexpr DWORD everything = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

constexpr int attempts = 200;
constexpr long longestPause = 500'000; // nanoseconds

/// Three bits each, those of FILE_SHARE_*.
struct Mode
{
    DWORD access = 0;
    DWORD shared = 0;

    off_t Offset() const noexcept
    {
        return off_t{access * 8 + shared} * widthOfMode;
    }
};

DWORD AccessBits(DWORD rights) noexcept
{
    return ((rights & (FILE_READ_DATA | FILE_EXECUTE)) != 0 ? FILE_SHARE_READ : 0) |
           ((rights & (FILE_WRITE_DATA | FILE_APPEND_DATA)) != 0 ? FILE_SHARE_WRITE : 0) |
           ((rights & DELETE) != 0 ? FILE_SHARE_DELETE : 0);
}

std::uint_fast32_t Random() noexcept
{
    static thread_local std::minstd_rand random(static_cast<std::uint_fast32_t>(Deadline::Now()) ^
                                                GetCurrentThreadId());
    return random();
}

void Pause(int attempt) noexcept
{
    if (attempt < 4)
    {
        sched_yield();
        return;
    }
    const timespec pause{0, static_cast<long>(Random() % longestPause)};
    nanosleep(&pause, nullptr);
}

enum class Finding
{
    None,
    Pending,
    Held
};

class Declaration
{
public:
    Declaration(int file, Mode mode, DWORD asked) noexcept
        : m_file(file)
        , m_mode(mode)
        , m_asked(asked)
        , m_exclusive((fcntl(file, F_GETFL) & O_ACCMODE) == O_WRONLY)
    {
    }

    /// 0, or the errno of a lock that can't be had.
    int Enter(off_t region) noexcept;
    void Leave(off_t region) noexcept;
    Finding Look() const noexcept;

private:
    bool Change(off_t start, short type) const noexcept;
    bool Goes(Mode other) const noexcept;
    bool GoesWithAll(off_t region, off_t start, off_t end) const noexcept;

    int m_file;
    Mode m_mode;
    DWORD m_asked;
    bool m_exclusive; // a descriptor that only writes can't take read locks, so it needs a byte of its own
    off_t m_byte = 0; // within the mode
};

bool Declaration::Change(off_t start, short type) const noexcept
{
    struct flock lock{};
    lock.l_type = type;
    lock.l_start = start;
    lock.l_len = 1;
    int result = 0;
    do
    {
        result = fcntl(m_file, F_OFD_SETLK, &lock);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

int Declaration::Enter(off_t region) noexcept
{
    constexpr int bytesTried = 16;
    for (int i = 0; i < bytesTried; ++i)
    {
        m_byte = m_exclusive ? 1 + static_cast<off_t>(Random() % (widthOfMode - 1)) : 0;
        if (Change(region + m_mode.Offset() + m_byte, m_exclusive ? F_WRLCK : F_RDLCK))
        {
            return 0;
        }
        if (!m_exclusive || (errno != EAGAIN && errno != EACCES))
        {
            break;
        }
    }
    return errno;
}

void Declaration::Leave(off_t region) noexcept
{
    Change(region + m_mode.Offset() + m_byte, F_UNLCK);
}

bool Declaration::Goes(Mode other) const noexcept
{
    return (m_asked & ~other.shared) == 0 && (other.access & ~m_mode.shared) == 0;
}

/// Of the modes at [start, end) of a region.
bool Declaration::GoesWithAll(off_t region, off_t start, off_t end) const noexcept
{
    struct flock lock{};
    lock.l_type = F_WRLCK;
    lock.l_start = region + start;
    lock.l_len = end - start;
    if (start >= end || fcntl(m_file, F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK)
    {
        return true;
    }
    const off_t found = lock.l_start - region;
    if (found < start || found >= end || lock.l_len != 1)
    {
        return false; // no mode: somebody has locked more than that
    }
    const off_t index = found / widthOfMode;
    return Goes({.access = static_cast<DWORD>(index / 8), .shared = static_cast<DWORD>(index % 8)}) &&
           GoesWithAll(region, start, index * widthOfMode) && GoesWithAll(region, (index + 1) * widthOfMode, end);
}

Finding Declaration::Look() const noexcept
{
    // In this order: whoever leaves the pending ones in the meantime is among the held ones by then.
    const bool pending = !GoesWithAll(pendingRegion, 0, widthOfRegion);
    return !GoesWithAll(heldRegion, 0, widthOfRegion) ? Finding::Held : pending ? Finding::Pending : Finding::None;
}

bool HasNoLocks(int error) noexcept
{
    return error == EOPNOTSUPP || error == ENOSYS || error == EINVAL || error == EBADF;
}

} // namespace

bool DeclareSharing(int file, DWORD access, DWORD shareMode, DWORD once) noexcept
{
    const DWORD bits = AccessBits(access);
    const DWORD asked = bits | AccessBits(once);
    if (asked == 0)
    {
        return true;
    }
    // Whoever does nothing with the file has no say in what others do.
    const Mode mode = {.access = bits, .shared = bits == 0 ? everything : shareMode & everything};
    Declaration pending(file, mode, asked);
    Declaration held(file, mode, asked);
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        int error = pending.Enter(pendingRegion);
        if (error == 0)
        {
            const Finding finding = pending.Look();
            error = finding == Finding::None ? held.Enter(heldRegion) : EAGAIN;
            pending.Leave(pendingRegion);
            if (finding == Finding::Pending)
            {
                Pause(attempt);
                continue;
            }
        }
        if (error == 0 || HasNoLocks(error))
        {
            return true;
        }
        return Fail(error == EAGAIN || error == EACCES ? ERROR_SHARING_VIOLATION : FromErrno(error)) != FALSE;
    }
    return Fail(ERROR_SHARING_VIOLATION) != FALSE;
}

bool GuardDeletion(const char* path, Descriptor& guard, bool alone) noexcept
{
    constexpr int flags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    guard = Descriptor(open(path, flags | O_RDONLY));
    if (!guard && errno == EACCES)
    {
        guard = Descriptor(open(path, flags | O_WRONLY));
    }
    return !guard || DeclareSharing(guard.Get(), DELETE, alone ? 0 : everything);
}

} // namespace Quoll::Platform
