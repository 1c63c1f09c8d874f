// What the layer keeps of each thread: the place where it sleeps and the mutexes it owns.
#pragma once

#include "platform/linux/Deadline.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>

struct pollfd;

namespace Quoll::Platform
{

class Mutex;

/// Where one thread sleeps until another wakes it. A wake-up that comes early isn't lost: it ends
/// the next sleep. A wake-up may also come for nothing, so sleepers look again at what they
/// wait for.
class Parker
{
public:
    /// Sleeps on a futex; costs no descriptor.
    void Park(const Deadline& deadline) noexcept;
    /// Sleeps until one of the descriptors is ready as well; their revents tell. The last entry of
    /// `descriptors` is a spare one for the wake-up. False if the thread's wake-up descriptor can't
    /// be made.
    bool ParkOrPoll(std::span<pollfd> descriptors, const Deadline& deadline) noexcept;
    void Unpark() noexcept;

private:
    enum State : std::uint32_t
    {
        Idle,
        Notified,
        OnFutex,
        OnDescriptors
    };

    std::atomic<std::uint32_t> m_state{Idle};
    int m_wakeup = -1; // an eventfd, made at the first need and kept
};

/// Records come from a pool and are never freed: whoever wakes a thread may touch its record
/// when the thread itself is gone already.
class ThreadRecord
{
public:
    /// The calling thread's. Works at any time in a thread's life, its last destructors included.
    static ThreadRecord& Current() noexcept;

    Parker parker;

    /// Operations that this thread started and that are pending.
    std::atomic<std::uint32_t> pendingOperations{0};

    std::mutex ownedLock;
    Mutex* firstOwned = nullptr; // guarded by ownedLock

private:
    friend struct ThreadRecordPool;
    ThreadRecord* m_nextFree = nullptr;
};

} // namespace Quoll::Platform
