// Pauses, the clock that never goes back, and the caller's numbers.
#include "platform/linux/Deadline.h"

#include <cerrno>

#include <sched.h>
#include <unistd.h>

void Sleep(DWORD milliseconds) noexcept
{
    if (milliseconds == 0)
    {
        sched_yield();
        return;
    }
    const auto deadline = Quoll::Platform::Deadline::In(milliseconds);
    const timespec moment = deadline.Moment();
    while (deadline.IsNever() || clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &moment, nullptr) == EINTR)
    {
        if (deadline.IsNever())
        {
            pause();
        }
    }
}

ULONGLONG GetTickCount64() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now); // like the original, it counts the time spent asleep
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec) / 1'000'000;
}

DWORD GetCurrentProcessId() noexcept
{
    return static_cast<DWORD>(getpid());
}

DWORD GetCurrentThreadId() noexcept
{
    constinit static thread_local DWORD id = 0;
    if (id == 0)
    {
        id = static_cast<DWORD>(gettid());
    }
    return id;
}
