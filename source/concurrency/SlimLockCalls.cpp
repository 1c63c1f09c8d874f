#include "concurrency/SlimLockCalls.h"

#include "Quoll/WideString.h"

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

SlimLockCalls::Call Find(HMODULE module, const char* name) noexcept
{
    if (module == nullptr)
    {
        return nullptr;
    }
    return reinterpret_cast<SlimLockCalls::Call>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

} // namespace

SlimLockCalls FindSlimLockCalls() noexcept
{
    const HMODULE module = GetModuleHandleW("kernel32.dll"_w);
    // A braced list is evaluated in its order.
    SlimLockCalls calls{false,
                        Find(module, "InitializeSRWLock"),
                        Find(module, "AcquireSRWLockShared"),
                        Find(module, "AcquireSRWLockExclusive"),
                        Find(module, "ReleaseSRWLockShared"),
                        Find(module, "ReleaseSRWLockExclusive")};
    calls.available = calls.initialize != nullptr && calls.acquireShared != nullptr &&
                      calls.acquireExclusive != nullptr && calls.releaseShared != nullptr &&
                      calls.releaseExclusive != nullptr;
    return calls;
}

const SlimLockCalls& SlimLocks() noexcept
{
    static const SlimLockCalls calls = FindSlimLockCalls();
    return calls;
}

namespace
{
[[maybe_unused]] const bool g_foundAtLoad = SlimLocks().available;
}

} // namespace Quoll::Utilities
