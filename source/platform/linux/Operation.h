// One overlapped operation that is under way.
//
// It hangs on the event that its end sets: a thread that waits on the event polls the operation's
// descriptor and does its work itself, so that no other thread stands in a message's way.
#pragma once

#include "platform/linux/CompletionPort.h"

#include <atomic>

#include <windows.h>

namespace Quoll::Platform
{

class Event;
class ThreadRecord;
class Waitable;

constexpr std::uintptr_t statusPending = 0x103;

class Operation : public Counted
{
public:
    Operation(OVERLAPPED* overlapped, Ref<Event> completion) noexcept;

    /// What to poll for its sake; negative if nobody but another thread of ours can complete it.
    virtual int Descriptor() const noexcept = 0;
    virtual short PollEvents() const noexcept = 0;
    /// Does what can be done without waiting.
    virtual void Advance() noexcept = 0;

    /// Resets the event, as every start of an operation does.
    void Begin() noexcept;
    /// Has its port told of the end as well. Before it begins.
    void SetNotice(CompletionNotice notice) noexcept
    {
        m_notice = std::move(notice);
    }
    /// Hangs on the event from now on.
    void Attach() noexcept;

    /// A thread begins and ceases to work for it in its wait.
    virtual void WaitBegins() noexcept
    {
    }
    virtual void WaitEnds() noexcept
    {
    }

    OVERLAPPED* Record() const noexcept
    {
        return m_overlapped;
    }
    /// The thread that started it; when that thread ends, so does the operation, unless it has a port.
    DWORD Thread() const noexcept
    {
        return m_thread;
    }

    bool IsDone() const noexcept
    {
        return m_done.load(std::memory_order_acquire);
    }
    /// Writes the outcome and signals. Once, by whoever holds the lock that guards the operation;
    /// the caller's record isn't touched afterwards.
    void Complete(DWORD code, std::size_t bytes) noexcept;

protected:
    ~Operation() override;

private:
    friend class Waitable;

    OVERLAPPED* const m_overlapped;
    const Ref<Event> m_completion;
    CompletionNotice m_notice;
    const DWORD m_thread;
    ThreadRecord& m_starter;
    bool m_counted = false;          // among the starter's pending ones
    Operation* m_previous = nullptr; // in the completion object's list, guarded by its lock
    Operation* m_next = nullptr;
    bool m_attached = false;
    std::atomic<bool> m_done{false};
};

// The outcome as it stands in the caller's record.
void StorePending(OVERLAPPED& overlapped) noexcept;
void StoreOutcome(OVERLAPPED& overlapped, DWORD code, std::size_t bytes) noexcept;
bool IsPending(OVERLAPPED& overlapped) noexcept;
DWORD OutcomeCode(OVERLAPPED& overlapped) noexcept;

} // namespace Quoll::Platform
