#include "platform/linux/FileSizeLimit.h"

#include <cerrno>
#include <ctime>

#include <sys/resource.h>

namespace Quoll::Platform
{

namespace
{

sigset_t TheSignal() noexcept
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGXFSZ);
    return signals;
}

} // namespace

bool HasFileSizeLimit() noexcept
{
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

void FileSizeSignalGuard::Hold() noexcept
{
    // One that is pending already is somebody else's. It is blocked, and one more would change nothing.
    sigset_t pending;
    const sigset_t signal = TheSignal();
    m_isHeld = sigpending(&pending) == 0 && sigismember(&pending, SIGXFSZ) == 0 &&
               pthread_sigmask(SIG_BLOCK, &signal, &m_maskBefore) == 0;
}

void FileSizeSignalGuard::Drop() const noexcept
{
    const int error = errno;
    const sigset_t signal = TheSignal();
    const timespec now{};
    while (sigtimedwait(&signal, nullptr, &now) < 0 && errno == EINTR)
    {
    }
    pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
    errno = error;
}

} // namespace Quoll::Platform
