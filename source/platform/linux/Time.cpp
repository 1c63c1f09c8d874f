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

namespace
{

constexpr LONGLONG CountsPerSecond = 10'000'000;

timespec ReadClock() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now); // like the original, it counts the time spent asleep
    return now;
}

} // namespace

ULONGLONG GetTickCount64() noexcept
{
    const timespec now = ReadClock();
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec) / 1'000'000;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) noexcept
{
    const timespec now = ReadClock();
    count->QuadPart = now.tv_sec * CountsPerSecond + now.tv_nsec / 100;
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) noexcept
{
    frequency->QuadPart = CountsPerSecond;
    return TRUE;
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
