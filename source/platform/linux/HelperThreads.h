// The layer's helper threads, for all that needs a thread: tasks, work of thread pools, timers.
//
// A thread starts when work needs one, blocks all signals, and never ends. Work of each kind starts in the
// order in which it was submitted. With all of the threads that there may be at work, work waits. The child
// of a fork has none of them and gets none until it calls exec.
#pragma once

#include "platform/helper_threads.h"

namespace Quoll::Platform
{

class HelperThreads
{
public:
    enum class Kind : std::uint8_t
    {
        Short, // gets a new thread while there are fewer than processors, then only if no short work has
               // begun for some milliseconds: a burst makes no crowd, and what blocks holds up nobody
        Long   // gets a thread of its own at once if none idles
    };

    /// Queues the work; allocates nothing. False with the last error if there is no thread and none can be
    /// made, or after a fork: the work isn't queued then.
    static bool Submit(HelperWork& work, Kind kind) noexcept;

    /// Sees to it that later work can't be refused, but for a fork. False with the last error as Submit.
    static bool Reserve() noexcept;

    /// Queues short work again, from its own run, which ends with that: nobody is woken, because the calling
    /// thread looks next.
    static void SubmitAgain(HelperWork& work) noexcept;

    /// Short work whose run does many things tells that another has begun, so that it isn't taken for blocked.
    static void NoteProgress() noexcept;
};

} // namespace Quoll::Platform
