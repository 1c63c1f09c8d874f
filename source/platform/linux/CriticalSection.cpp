// Critical sections are the C library's recursive mutexes.
#include "platform/linux/ErrnoTable.h"

#include <windows.h>

using Quoll::Platform::Fail;
using Quoll::Platform::FromErrno;

BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD) noexcept
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    const int error = pthread_mutex_init(&section->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error == 0 ? TRUE : Fail(FromErrno(error));
}

void EnterCriticalSection(CRITICAL_SECTION* section) noexcept
{
    pthread_mutex_lock(&section->mutex);
}

void LeaveCriticalSection(CRITICAL_SECTION* section) noexcept
{
    pthread_mutex_unlock(&section->mutex);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) noexcept
{
    pthread_mutex_destroy(&section->mutex);
}
