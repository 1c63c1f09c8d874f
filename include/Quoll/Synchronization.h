/// @file
/// Events, mutexes and waits on them, as SharedHandle.
///
/// An object lives for as long as an owner of its handle does. All operations may be called from any
/// thread. Times are milliseconds; 0xFFFFFFFF waits without end. An empty handle given to a wait is
/// no special case: the platform refuses it.
///
///     SharedHandle stop = EventAccessControl::CreateLocalEvent(true, false);
///     ...
///     if (EventAccessControl::WaitOnEvent(stop, 1000)) { ... }
#pragma once

#include "Quoll/Api.h"
#include "Quoll/SharedHandle.h"

#include <cstdint>
#include <vector>

namespace Quoll::Utilities
{

/// How a wait ended.
enum class EWaitResult
{
    Signaled = 0,  ///< The object was signalled.
    Abandoned = 1, ///< It was a mutex whose owner ended; the caller owns it now.
    TimedOut = 2,  ///< The time was over.
    Failed = 3     ///< The wait failed; the last error tells why.
};

/// Mutexes: owned by one thread at a time, which may take one repeatedly and gives it back as often.
/// Nothing here throws but std::bad_alloc.
class QUOLL_API MultiProcessMutex
{
public:
    /// A new mutex without a name, owned by the calling thread if `initialOwner`.
    /// The result is empty if the platform refuses; the last error tells why.
    static SharedHandle CreateLocalMutex(bool initialOwner);

    /// Gives the mutex back once. True for an empty handle; false if the caller doesn't own it.
    static bool ReleaseMutex(const SharedHandle& mutex) noexcept;

    /// Waits without end; true if the caller owns the mutex now, as the timed form has it.
    static bool WaitOnMutex(const SharedHandle& mutex) noexcept;

    /// True if the caller owns the mutex now, also when a thread ended without giving it back (what the
    /// mutex guards may be half done then). False if the time was over or the wait failed.
    static bool WaitOnMutex(const SharedHandle& mutex, std::uint32_t timeout) noexcept;
};

/// Events: set or not. An auto-reset event lets one waiter pass each time that it is set; a manual
/// one lets all pass until it is reset. Nothing here throws but std::bad_alloc.
class QUOLL_API EventAccessControl
{
public:
    /// How a wait on an event ended.
    enum class EventWaitResult
    {
        Signaled = 0, ///< The event was set.
        TimedOut = 1, ///< The time was over.
        Failed = 2    ///< Anything else; an abandoned mutex, if the handle is one, included.
    };

    /// A new event without a name. The result is empty if the platform refuses; the last error tells why.
    static SharedHandle CreateLocalEvent(bool manualReset, bool initialState);

    /// Sets the event. False if the platform refuses; the last error tells why.
    static bool SetEvent(const SharedHandle& event) noexcept;

    /// Resets the event. False if the platform refuses; the last error tells why.
    static bool ResetEvent(const SharedHandle& event) noexcept;

    /// Lets pass those who wait at this moment (an auto-reset event: one of them) and leaves the event
    /// reset. False if the platform refuses; the last error tells why.
    static bool PulseEvent(const SharedHandle& event) noexcept;

    /// Waits until the event is set or the time is over.
    static EventWaitResult Wait(const SharedHandle& event, std::uint32_t timeout) noexcept;

    /// Waits without end; false only if the wait failed.
    static bool WaitOnEvent(const SharedHandle& event) noexcept;

    /// True only if the event was set within the time.
    static bool WaitOnEvent(const SharedHandle& event, std::uint32_t timeout) noexcept;
};

/// Waits that give the platform's own code: 0 and up the index of the object that ended the wait, 128
/// and up that of a mutex whose owner ended, 258 for the time being over, 0xFFFFFFFF for a failure
/// with the last error.
class QUOLL_API WaitForObjects
{
public:
    /// Waits for one of the objects (the lowest index wins), or for all of them at once.
    /// The list isn't checked: for none and for more than 64 the platform fails with error 87.
    /// Throws std::bad_alloc if there is no memory for the array of handles.
    static std::uint32_t WaitForMultipleObjects(const std::vector<SharedHandle>& objects, bool waitForAll,
                                                std::uint32_t timeout);

    /// Waits for one object.
    static std::uint32_t WaitForSingleObject(const SharedHandle& object, std::uint32_t timeout) noexcept;

    /// As WaitForSingleObject; if `alertable`, a call that is queued to the thread ends the wait with
    /// 192 (on Linux nothing is ever queued).
    static std::uint32_t WaitForSingleObjectEx(const SharedHandle& object, std::uint32_t timeout,
                                               bool alertable) noexcept;
};

} // namespace Quoll::Utilities
