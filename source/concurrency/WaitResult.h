// The wait result of the public interface from the platform's.
#pragma once

#include "Quoll/Synchronization.h"

#include <windows.h>

namespace Quoll::Utilities
{

constexpr EWaitResult ToWaitResult(DWORD result) noexcept
{
    switch (result)
    {
    case WAIT_ABANDONED:
        return EWaitResult::Abandoned;
    case WAIT_TIMEOUT:
        return EWaitResult::TimedOut;
    case WAIT_FAILED:
        return EWaitResult::Failed;
    default:
        return EWaitResult::Signaled;
    }
}

} // namespace Quoll::Utilities
