// Critical sections and slim reader/writer locks.
#pragma once

#include "types.h"

#include <pthread.h>

struct CRITICAL_SECTION
{
    pthread_mutex_t mutex;
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

struct SRWLOCK
{
    pthread_rwlock_t lock;
};
using PSRWLOCK = SRWLOCK*;

extern "C"
{
    /// The spin count is accepted; the lock spins as the C library decides.
    BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD spinCount) noexcept;
    void EnterCriticalSection(CRITICAL_SECTION* section) noexcept;
    void LeaveCriticalSection(CRITICAL_SECTION* section) noexcept;
    void DeleteCriticalSection(CRITICAL_SECTION* section) noexcept;

    // Reached by name through GetProcAddress as well. A waiting writer goes before later readers.
    void InitializeSRWLock(SRWLOCK* lock) noexcept;
    void AcquireSRWLockShared(SRWLOCK* lock) noexcept;
    void AcquireSRWLockExclusive(SRWLOCK* lock) noexcept;
    void ReleaseSRWLockShared(SRWLOCK* lock) noexcept;
    void ReleaseSRWLockExclusive(SRWLOCK* lock) noexcept;
}
