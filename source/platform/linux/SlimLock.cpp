// Slim reader/writer locks are the C library's, of the kind in which a waiting writer holds back later
// readers, as it does on Windows.
//
// A thread that takes a lock which it holds already would wait for itself for ever on Windows; the
// C library notices some of these cases, and then the process ends with a line in the system log.
#include <windows.h>

#include <syslog.h>

#include <cstdlib>

namespace
{

void Require(int error) noexcept
{
    if (error != 0)
    {
        syslog(LOG_CRIT, "a slim lock can't be taken: error %d", error);
        std::abort();
    }
}

} // namespace

void InitializeSRWLock(SRWLOCK* lock) noexcept
{
    pthread_rwlockattr_t attributes;
    pthread_rwlockattr_init(&attributes);
    pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    pthread_rwlock_init(&lock->lock, &attributes);
    pthread_rwlockattr_destroy(&attributes);
}

void AcquireSRWLockShared(SRWLOCK* lock) noexcept
{
    Require(pthread_rwlock_rdlock(&lock->lock));
}

void AcquireSRWLockExclusive(SRWLOCK* lock) noexcept
{
    Require(pthread_rwlock_wrlock(&lock->lock));
}

void ReleaseSRWLockShared(SRWLOCK* lock) noexcept
{
    pthread_rwlock_unlock(&lock->lock);
}

void ReleaseSRWLockExclusive(SRWLOCK* lock) noexcept
{
    pthread_rwlock_unlock(&lock->lock);
}
