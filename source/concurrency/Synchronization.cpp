#include "Quoll/Synchronization.h"

#include <windows.h>

namespace Quoll::Utilities
{

SharedHandle MultiProcessMutex::CreateLocalMutex(bool initialOwner)
{
    return SharedHandle(::CreateMutexW(nullptr, initialOwner, nullptr));
}

bool MultiProcessMutex::ReleaseMutex(const SharedHandle& mutex) noexcept
{
    return !mutex.IsValid() || ::ReleaseMutex(mutex.get()) != FALSE;
}

bool MultiProcessMutex::WaitOnMutex(const SharedHandle& mutex) noexcept
{
    return WaitOnMutex(mutex, INFINITE);
}

bool MultiProcessMutex::WaitOnMutex(const SharedHandle& mutex, std::uint32_t timeout) noexcept
{
    const DWORD result = ::WaitForSingleObject(mutex.get(), timeout);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

SharedHandle EventAccessControl::CreateLocalEvent(bool manualReset, bool initialState)
{
    return SharedHandle(::CreateEventW(nullptr, manualReset, initialState, nullptr));
}

bool EventAccessControl::SetEvent(const SharedHandle& event) noexcept
{
    return ::SetEvent(event.get()) == TRUE;
}

bool EventAccessControl::ResetEvent(const SharedHandle& event) noexcept
{
    return ::ResetEvent(event.get()) == TRUE;
}

bool EventAccessControl::PulseEvent(const SharedHandle& event) noexcept
{
    return ::PulseEvent(event.get()) == TRUE;
}

EventAccessControl::EventWaitResult EventAccessControl::Wait(const SharedHandle& event, std::uint32_t timeout) noexcept
{
    switch (::WaitForSingleObject(event.get(), timeout))
    {
    case WAIT_OBJECT_0:
        return EventWaitResult::Signaled;
    case WAIT_TIMEOUT:
        return EventWaitResult::TimedOut;
    default:
        return EventWaitResult::Failed;
    }
}

bool EventAccessControl::WaitOnEvent(const SharedHandle& event) noexcept
{
    return WaitOnEvent(event, INFINITE);
}

bool EventAccessControl::WaitOnEvent(const SharedHandle& event, std::uint32_t timeout) noexcept
{
    return ::WaitForSingleObject(event.get(), timeout) == WAIT_OBJECT_0;
}

std::uint32_t WaitForObjects::WaitForMultipleObjects(const std::vector<SharedHandle>& objects, bool waitForAll,
                                                     std::uint32_t timeout)
{
    std::vector<HANDLE> handles;
    handles.reserve(objects.size());
    for (const SharedHandle& object : objects)
    {
        handles.push_back(object.get());
    }
    return ::WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), waitForAll, timeout);
}

std::uint32_t WaitForObjects::WaitForSingleObject(const SharedHandle& object, std::uint32_t timeout) noexcept
{
    return ::WaitForSingleObject(object.get(), timeout);
}

std::uint32_t WaitForObjects::WaitForSingleObjectEx(const SharedHandle& object, std::uint32_t timeout,
                                                    bool alertable) noexcept
{
    return ::WaitForSingleObjectEx(object.get(), timeout, alertable);
}

} // namespace Quoll::Utilities
