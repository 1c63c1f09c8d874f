#include "platform/linux/Event.h"

#include "platform/linux/HandleTable.h"

#include <new>

namespace Quoll::Platform
{

void Event::Set() noexcept
{
    std::uint32_t state = m_state.load(std::memory_order_relaxed);
    while ((state & hasWaiters) == 0)
    {
        if (m_state.compare_exchange_weak(state, state | signalled, std::memory_order_release,
                                          std::memory_order_relaxed))
        {
            return;
        }
    }
    WakeList wake;
    const std::lock_guard guard(lock);
    m_state.fetch_or(signalled, std::memory_order_release);
    Serve(wake);
}

void Event::Reset() noexcept
{
    m_state.fetch_and(~signalled, std::memory_order_acq_rel);
}

void Event::Pulse() noexcept
{
    WakeList wake;
    const std::lock_guard guard(lock);
    m_state.fetch_or(signalled, std::memory_order_release);
    Serve(wake);
    m_state.fetch_and(~signalled, std::memory_order_release);
}

void Event::CompleteOperation(Operation& operation) noexcept
{
    WakeList wake;
    const std::lock_guard guard(lock);
    RemoveOperation(operation);
    m_state.fetch_or(signalled, std::memory_order_release);
    Serve(wake);
}

bool Event::TryTake(ThreadRecord& thread, DWORD& code) noexcept
{
    std::uint32_t state = m_state.load(std::memory_order_acquire);
    while ((state & hasWaiters) == 0)
    {
        if ((state & signalled) == 0)
        {
            return false;
        }
        if (m_manualReset || m_state.compare_exchange_weak(state, state & ~signalled, std::memory_order_acq_rel,
                                                           std::memory_order_acquire))
        {
            code = 0;
            return true;
        }
    }
    return Waitable::TryTake(thread, code);
}

bool Event::IsReady(const ThreadRecord&) const noexcept
{
    return (m_state.load(std::memory_order_acquire) & signalled) != 0;
}

void Event::Take(ThreadRecord&) noexcept
{
    if (!m_manualReset)
    {
        m_state.fetch_and(~signalled, std::memory_order_acq_rel);
    }
}

void Event::WaitersChanged(bool any) noexcept
{
    if (any)
    {
        m_state.fetch_or(hasWaiters, std::memory_order_acq_rel);
    }
    else
    {
        m_state.fetch_and(~hasWaiters, std::memory_order_acq_rel);
    }
}

} // namespace Quoll::Platform

using Quoll::Platform::Event;
using Quoll::Platform::HandleTable;
using Quoll::Platform::Pinned;
using Quoll::Platform::Ref;

extern "C"
{

    HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initialState, LPCWSTR name) noexcept
    {
        if (name != nullptr)
        {
            SetLastError(ERROR_NOT_SUPPORTED);
            return nullptr;
        }
        const auto event = Ref<Event>::Adopt(new (std::nothrow) Event(manualReset != FALSE, initialState != FALSE));
        if (!event)
        {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        const HANDLE handle = HandleTable::Insert(Ref<Quoll::Platform::Object>(event.Get()));
        if (handle != nullptr)
        {
            SetLastError(ERROR_SUCCESS); // so that a caller can tell "already exists" from "made"
        }
        return handle;
    }

    BOOL SetEvent(HANDLE handle) noexcept
    {
        const Pinned<Event> event(handle);
        if (!event)
        {
            return FALSE;
        }
        event->Set();
        return TRUE;
    }

    BOOL ResetEvent(HANDLE handle) noexcept
    {
        const Pinned<Event> event(handle);
        if (!event)
        {
            return FALSE;
        }
        event->Reset();
        return TRUE;
    }

    BOOL PulseEvent(HANDLE handle) noexcept
    {
        const Pinned<Event> event(handle);
        if (!event)
        {
            return FALSE;
        }
        event->Pulse();
        return TRUE;
    }

} // extern "C"
