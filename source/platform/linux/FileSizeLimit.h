// The limit that a process may have for the size of the files that it writes (RLIMIT_FSIZE).
//
// A write beyond it fails, and the kernel sends the thread a signal as well, which ends every process that isn't
// prepared for it. Here the code of the failure is all that a caller is to see.
#pragma once

#include <csignal>

namespace Quoll::Platform
{

bool HasFileSizeLimit() noexcept;

/// While it lives, the thread's writes beyond the limit fail with EFBIG and do nothing else. errno is kept. Without a
/// limit it does nothing at all.
class FileSizeSignalGuard
{
public:
    explicit FileSizeSignalGuard(bool isLimited) noexcept
    {
        if (isLimited)
        {
            Hold();
        }
    }
    ~FileSizeSignalGuard()
    {
        if (m_isHeld)
        {
            Drop();
        }
    }
    FileSizeSignalGuard(const FileSizeSignalGuard&) = delete;
    FileSizeSignalGuard& operator=(const FileSizeSignalGuard&) = delete;

private:
    void Hold() noexcept;
    void Drop() const noexcept;

    bool m_isHeld = false;
    sigset_t m_maskBefore; // if it is held
};

} // namespace Quoll::Platform
