// Timer queues.
//
// A callback runs on a helper thread, at its due time on the monotonic clock: a jump of the wall clock moves
// nothing, and the time that the machine sleeps doesn't count. A period is a fixed grid that starts at the
// first due time; a callback that is slower than its period overlaps itself, and moments of the grid that
// passed while the process didn't run are left out. All timers together cost one thread, and no descriptor;
// callbacks that block at the same time cost one each. An exception that leaves a callback ends the process.
//
// A queue or timer that isn't there gives ERROR_INVALID_HANDLE, and CloseHandle takes neither.
#pragma once

#include "handles.h"

using BOOLEAN = BYTE;
using WAITORTIMERCALLBACK = void (*)(void* context, BOOLEAN timerOrWaitFired);

// The threads of callbacks never end and there are enough of them, so that these two ask for nothing more.
constexpr ULONG WT_EXECUTEDEFAULT = 0;
constexpr ULONG WT_EXECUTELONGFUNCTION = 0x10;
constexpr ULONG WT_EXECUTEONLYONCE = 8;

extern "C"
{
    /// Null with ERROR_NOT_ENOUGH_MEMORY, or ERROR_INVALID_HANDLE in the child of a fork.
    HANDLE CreateTimerQueue() noexcept;

    /// A null queue is the process's default one. Times are milliseconds; a due time of INFINITE never comes, a
    /// period of 0 is none. ERROR_INVALID_PARAMETER without a place for the handle or a callback, for other
    /// flags, and for a period with WT_EXECUTEONLYONCE.
    BOOL CreateTimerQueueTimer(HANDLE* timer, HANDLE queue, WAITORTIMERCALLBACK callback, void* context, DWORD dueTime,
                               DWORD period, ULONG flags) noexcept;

    /// The handle is dead when this returns, and no callback starts any more. INVALID_HANDLE_VALUE as the
    /// event waits for running callbacks, but not for one that makes the call itself (on Windows that waits for
    /// ever). With an event that is set after the last callback, or with null, the result is FALSE with
    /// ERROR_IO_PENDING if one runs. A null timer is ERROR_INVALID_PARAMETER, a handle that is no event
    /// ERROR_INVALID_HANDLE; both change nothing.
    BOOL DeleteTimerQueueTimer(HANDLE queue, HANDLE timer, HANDLE completionEvent) noexcept;

    /// As DeleteTimerQueueTimer for all timers of the queue and the queue itself. The default queue can't be
    /// deleted: null is ERROR_INVALID_HANDLE.
    BOOL DeleteTimerQueueEx(HANDLE queue, HANDLE completionEvent) noexcept;
}
