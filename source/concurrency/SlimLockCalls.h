// The platform's slim lock, whose calls are found by name and never imported.
#pragma once

#include <windows.h>

namespace Quoll::Utilities
{

struct SlimLockCalls
{
    using Call = void(WINAPI*)(PSRWLOCK);

    bool available; // all five were found
    Call initialize;
    Call acquireShared;
    Call acquireExclusive;
    Call releaseShared;
    Call releaseExclusive;
};

/// Looks for them anew.
SlimLockCalls FindSlimLockCalls() noexcept;

/// Found while the library loads, or earlier if a static object of the program comes first.
const SlimLockCalls& SlimLocks() noexcept;

} // namespace Quoll::Utilities
