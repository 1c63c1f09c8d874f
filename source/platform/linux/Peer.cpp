// Who is at the other end of a pipe, from the socket's credentials and a pidfd.
//
// The kernel notes the peer's process when it connects, or listens. The pidfd names that very
// process, so that its number can't be taken by another one unnoticed: everything is read from
// /proc first, and counts only if the process is still alive afterwards.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/HandleTable.h"
#include "platform/linux/PipeEnd.h"

#include <platform/native_path.h>
#include <platform/peer.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr int socketOptionPeerPidfd = 77; // SO_PEERPIDFD, which older headers lack

class Descriptor
{
public:
    explicit Descriptor(int descriptor) noexcept
        : m_descriptor(descriptor)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (m_descriptor >= 0)
        {
            close(m_descriptor);
        }
    }
    int Get() const noexcept
    {
        return m_descriptor;
    }

private:
    int m_descriptor;
};

int OpenPeerProcess(int socket, pid_t process) noexcept
{
    int pidfd = -1;
    socklen_t size = sizeof pidfd;
    if (getsockopt(socket, SOL_SOCKET, socketOptionPeerPidfd, &pidfd, &size) == 0)
    {
        return pidfd;
    }
    // A kernel before 6.5: the number may have been used again between the two.
    return errno == ENOPROTOOPT ? static_cast<int>(syscall(SYS_pidfd_open, process, 0)) : -1;
}

bool IsAlive(int pidfd) noexcept
{
    pollfd state{pidfd, POLLIN, 0};
    return poll(&state, 1, 0) == 0;
}

std::string UserSid(uid_t user)
{
    return user == 0 ? "S-1-5-18" : "S-1-22-1-" + std::to_string(user);
}

// Name and inode come from one open file, so that they belong together even if the process
// executes another program meanwhile.
bool ReadExecutable(pid_t process, PeerIdentity& peer)
{
    const auto link = std::filesystem::path("/proc") / std::to_string(process) / "exe";
    const Descriptor executable(open(link.c_str(), O_PATH | O_CLOEXEC));
    struct stat state{};
    if (executable.Get() < 0 || fstat(executable.Get(), &state) != 0)
    {
        return FailWithErrno() != FALSE;
    }
    std::error_code failure;
    const auto own = std::filesystem::path("/proc/self/fd") / std::to_string(executable.Get());
    const auto target = std::filesystem::read_symlink(own, failure);
    if (failure)
    {
        return Fail(FromErrno(failure.value())) != FALSE;
    }
    peer.executable = PathFromNative(target);
    peer.device = state.st_dev;
    peer.file = state.st_ino;
    return true;
}

} // namespace

bool QueryPipePeer(HANDLE pipe, PeerIdentity& peer) noexcept
try
{
    const Pinned<PipeEnd> end(pipe);
    int duplicate = -1;
    if (!end || !end->PeerSocket(duplicate))
    {
        return false;
    }
    const Descriptor socket(duplicate);
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket.Get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
    {
        return FailWithErrno() != FALSE;
    }
    const Descriptor process(OpenPeerProcess(socket.Get(), credentials.pid));
    if (process.Get() < 0)
    {
        return FailWithErrno() != FALSE;
    }
    PeerIdentity found;
    found.processId = static_cast<DWORD>(credentials.pid);
    found.user = UserSid(credentials.uid);
    if (!ReadExecutable(credentials.pid, found))
    {
        return false;
    }
    if (!IsAlive(process.Get()))
    {
        return Fail(ERROR_BROKEN_PIPE) != FALSE;
    }
    peer = std::move(found);
    return true;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

} // namespace Quoll::Platform
