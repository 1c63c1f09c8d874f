// A moment on the monotonic clock until which something waits.
#pragma once

#include <windows.h>

#include <cstdint>
#include <ctime>
#include <optional>

namespace Quoll::Platform
{

class Deadline
{
public:
    /// INFINITE never passes.
    static Deadline In(DWORD milliseconds) noexcept
    {
        Deadline deadline;
        if (milliseconds != INFINITE)
        {
            deadline.m_nanoseconds = Now() + std::int64_t{milliseconds} * 1'000'000;
        }
        return deadline;
    }
    /// A moment in nanoseconds; below 0 it never passes.
    static Deadline At(std::int64_t nanoseconds) noexcept
    {
        Deadline deadline;
        deadline.m_nanoseconds = nanoseconds;
        return deadline;
    }
    static std::int64_t Now() noexcept
    {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    }

    bool IsNever() const noexcept
    {
        return m_nanoseconds < 0;
    }
    bool HasPassed() const noexcept
    {
        return !IsNever() && Now() >= m_nanoseconds;
    }
    /// The moment itself, for calls that take one.
    timespec Moment() const noexcept
    {
        return Split(m_nanoseconds);
    }
    /// What is left of the wait, for calls that take a length.
    timespec Remaining() const noexcept
    {
        const std::int64_t left = m_nanoseconds - Now();
        return Split(left > 0 ? left : 0);
    }

private:
    static timespec Split(std::int64_t nanoseconds) noexcept
    {
        return {nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
    }

    std::int64_t m_nanoseconds = -1;
};

} // namespace Quoll::Platform
