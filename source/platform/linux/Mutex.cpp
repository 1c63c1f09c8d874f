#include "platform/linux/Mutex.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/HandleTable.h"

#include <new>

namespace Quoll::Platform
{

bool Mutex::IsReady(const ThreadRecord& thread) const noexcept
{
    return m_owner == nullptr || m_owner == &thread;
}

DWORD Mutex::OutcomeBits() const noexcept
{
    return m_abandoned ? WAIT_ABANDONED : 0;
}

void Mutex::Take(ThreadRecord& thread) noexcept
{
    ++m_depth;
    if (m_owner == &thread)
    {
        return;
    }
    m_owner = &thread;
    m_abandoned = false;
    Retain();
    const std::lock_guard guard(thread.ownedLock);
    m_previousOwned = nullptr;
    m_nextOwned = thread.firstOwned;
    if (m_nextOwned != nullptr)
    {
        m_nextOwned->m_previousOwned = this;
    }
    thread.firstOwned = this;
}

void Mutex::Disown() noexcept
{
    const std::lock_guard guard(m_owner->ownedLock);
    (m_previousOwned != nullptr ? m_previousOwned->m_nextOwned : m_owner->firstOwned) = m_nextOwned;
    if (m_nextOwned != nullptr)
    {
        m_nextOwned->m_previousOwned = m_previousOwned;
    }
    m_depth = 0;
}

bool Mutex::ReleaseBy(ThreadRecord& thread) noexcept
{
    WakeList wake;
    {
        const std::lock_guard guard(lock);
        if (m_owner != &thread)
        {
            return false;
        }
        if (m_depth > 1)
        {
            --m_depth;
            return true;
        }
        Disown();
        m_owner = nullptr;
        Serve(wake);
    }
    Release(); // the owner's count
    return true;
}

void Mutex::AbandonAll(ThreadRecord& thread) noexcept
{
    // Only this thread takes mutexes for itself now, so the list can but shrink.
    while (Mutex* const mutex = thread.firstOwned)
    {
        WakeList wake;
        {
            const std::lock_guard guard(mutex->lock);
            mutex->Disown();
            mutex->m_owner = nullptr;
            mutex->m_abandoned = true;
            mutex->Serve(wake);
        }
        mutex->Release();
    }
}

} // namespace Quoll::Platform

using Quoll::Platform::Fail;
using Quoll::Platform::HandleTable;
using Quoll::Platform::Mutex;
using Quoll::Platform::Pinned;
using Quoll::Platform::Ref;
using Quoll::Platform::ThreadRecord;

extern "C"
{

    HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL initialOwner, LPCWSTR name) noexcept
    {
        if (name != nullptr)
        {
            SetLastError(ERROR_NOT_SUPPORTED);
            return nullptr;
        }
        const auto mutex = Ref<Mutex>::Adopt(new (std::nothrow) Mutex);
        if (!mutex)
        {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        const HANDLE handle = HandleTable::Insert(Ref<Quoll::Platform::Object>(mutex.Get()));
        if (handle != nullptr)
        {
            DWORD outcome = 0;
            if (initialOwner != FALSE)
            {
                mutex->TryTake(ThreadRecord::Current(), outcome);
            }
            SetLastError(ERROR_SUCCESS);
        }
        return handle;
    }

    BOOL ReleaseMutex(HANDLE handle) noexcept
    {
        const Pinned<Mutex> mutex(handle);
        if (!mutex)
        {
            return FALSE;
        }
        if (!mutex->ReleaseBy(ThreadRecord::Current()))
        {
            return Fail(ERROR_NOT_OWNER);
        }
        return TRUE;
    }

} // extern "C"
