// The one helper thread for what nobody waits for: the handshakes of pipes, and the rest of writes
// that didn't fit at once.
//
// It starts at the first need, blocks all signals, and is never joined: it works as long as the
// process lives, and holds no resource that the kernel doesn't free with the process.
#pragma once

#include "platform/linux/Object.h"

#include <windows.h>

#include <cstdint>
#include <map>
#include <mutex>

namespace Quoll::Platform
{

/// Something that the thread watches. It is kept alive until it is removed.
class IoSource : public Counted
{
public:
    /// The descriptor is ready. On the I/O thread, without any lock held.
    virtual void Ready() noexcept = 0;
    /// A timer of this source has run out.
    virtual void TimedOut() noexcept
    {
    }
};

class IoThread
{
public:
    using Id = std::uint64_t; // never used twice, so that a late event reaches nobody else; 0 is none

    enum class Watch : std::uint8_t
    {
        Input, // as long as there is some
        Once   // for what Arm says, and no more until it is called again
    };

    /// The process's thread; null with the last error set if it can't be started.
    static IoThread* Running() noexcept;

    /// 0 with the last error set on failure.
    Id Add(Ref<IoSource> source, int descriptor, Watch watch) noexcept;
    void Arm(Id id, bool input, bool output) noexcept;
    void Pause(Id id, bool paused) noexcept;           // no input events meanwhile
    void SetTimer(Id id, DWORD milliseconds) noexcept; // calls TimedOut once
    /// To be called before the descriptor is closed. A call of Ready may still be under way.
    void Remove(Id id) noexcept;

private:
    struct Entry
    {
        Ref<IoSource> source;
        int descriptor = -1;
    };

    IoThread() = default;
    bool Start() noexcept;
    [[noreturn]] void Run() noexcept;
    void RunTimers() noexcept;
    int TimeToNext() noexcept;
    Ref<IoSource> Find(Id id) noexcept;
    void Modify(Id id, std::uint32_t events) noexcept;
    void Kick() const noexcept;

    int m_poll = -1;
    int m_kick = -1; // makes the thread look at its timers again
    std::mutex m_lock;
    Id m_lastId = 0; // this and what follows is guarded by m_lock
    std::map<Id, Entry> m_entries;
    std::multimap<std::int64_t, Id> m_timers;
};

} // namespace Quoll::Platform
