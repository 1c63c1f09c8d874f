// Events. An unnamed event keeps a list of its waiters and owns no descriptor; as long as nobody
// waits, setting, resetting and taking it are single atomic steps without a lock.
#pragma once

#include "platform/linux/Waitable.h"

namespace Quoll::Platform
{

class Event final : public Waitable
{
public:
    static constexpr ObjectKind ClassKind = ObjectKind::Event;

    Event(bool manualReset, bool initialState) noexcept
        : Waitable(ClassKind)
        , m_manualReset(manualReset)
        , m_state(initialState ? signalled : 0)
    {
    }

    void Set() noexcept;
    void Reset() noexcept;
    /// Releases those who wait now (one of them if the event resets itself), then resets.
    void Pulse() noexcept;
    /// Unlinks the operation and sets the event.
    void CompleteOperation(Operation& operation) noexcept;

    bool TryTake(ThreadRecord& thread, DWORD& code) noexcept override;
    bool IsReady(const ThreadRecord& thread) const noexcept override;
    void Take(ThreadRecord& thread) noexcept override;

private:
    static constexpr std::uint32_t signalled = 1;
    static constexpr std::uint32_t hasWaiters = 2; // everything goes through the lock

    void WaitersChanged(bool any) noexcept override;

    const bool m_manualReset;
    std::atomic<std::uint32_t> m_state;
};

} // namespace Quoll::Platform
