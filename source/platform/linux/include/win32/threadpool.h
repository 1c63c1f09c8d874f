// The thread pool: callbacks that run on the process's helper threads.
//
// As many callbacks run at once as there are processors; more only when those that run have begun no other for
// some milliseconds, because they block. Callbacks of one work object begin in the order of their submission,
// which tells nothing of when they end. An exception that leaves a callback ends the process. The child of a
// fork has no threads: work submitted there never runs, and waiting for it returns at once.
#pragma once

#include "types.h"

struct TP_WORK;
struct TP_CALLBACK_INSTANCE;
struct TP_CALLBACK_ENVIRON; // nobody has one here
using PTP_WORK = TP_WORK*;
using PTP_CALLBACK_INSTANCE = TP_CALLBACK_INSTANCE*;
using PTP_CALLBACK_ENVIRON = TP_CALLBACK_ENVIRON*;
using PTP_WORK_CALLBACK = void (*)(PTP_CALLBACK_INSTANCE instance, void* context, PTP_WORK work);

extern "C"
{
    /// Null with ERROR_INVALID_PARAMETER without a callback, ERROR_NOT_SUPPORTED for an environment, and with
    /// what the system says if there is no memory or no thread.
    PTP_WORK CreateThreadpoolWork(PTP_WORK_CALLBACK callback, void* context, PTP_CALLBACK_ENVIRON environment) noexcept;

    /// One call of the callback more. Allocates nothing.
    void SubmitThreadpoolWork(PTP_WORK work) noexcept;

    /// Until no callback is outstanding; with `cancelPending`, those that haven't begun never do. Waits for ever
    /// in a callback of the same object that hasn't called DisassociateCurrentThreadFromCallback.
    void WaitForThreadpoolWorkCallbacks(PTP_WORK work, BOOL cancelPending) noexcept;

    /// Lets go of the object. What was submitted still runs; the object is freed after that.
    void CloseThreadpoolWork(PTP_WORK work) noexcept;

    /// To be called by the callback itself: nobody waits for it any more.
    void DisassociateCurrentThreadFromCallback(PTP_CALLBACK_INSTANCE instance) noexcept;
}
