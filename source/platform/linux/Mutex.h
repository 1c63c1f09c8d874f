// Mutexes: owned by a thread, recursive, and abandoned when their owner's thread ends.
#pragma once

#include "platform/linux/Waitable.h"

namespace Quoll::Platform
{

class Mutex final : public Waitable
{
public:
    static constexpr ObjectKind ClassKind = ObjectKind::Mutex;

    Mutex() noexcept
        : Waitable(ClassKind)
    {
    }

    /// False if the thread doesn't own it.
    bool ReleaseBy(ThreadRecord& thread) noexcept;
    /// The thread has ended: each mutex that it owns goes to its next waiter as abandoned.
    static void AbandonAll(ThreadRecord& thread) noexcept;

    bool IsReady(const ThreadRecord& thread) const noexcept override;
    DWORD OutcomeBits() const noexcept override;
    void Take(ThreadRecord& thread) noexcept override;

private:
    void WaitersChanged(bool) noexcept override
    {
    }
    void Disown() noexcept; // with the lock held

    ThreadRecord* m_owner = nullptr;
    std::uint32_t m_depth = 0;
    bool m_abandoned = false;
    Mutex* m_previousOwned = nullptr; // in the owner's list, which holds a count
    Mutex* m_nextOwned = nullptr;
};

} // namespace Quoll::Platform
