// I/O completion ports: packets that wait for threads, and threads that wait for packets.
#pragma once

#include "platform/linux/Object.h"
#include "platform/linux/ThreadRecord.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

namespace Quoll::Platform
{

struct CompletionPacket
{
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    DWORD code = ERROR_SUCCESS;
    DWORD bytes = 0;
    CompletionPacket* next = nullptr; // the port's
};

class CompletionPort final : public Object
{
public:
    static constexpr ObjectKind ClassKind = ObjectKind::CompletionPort;
    using Packet = std::unique_ptr<CompletionPacket>;

    CompletionPort() noexcept
        : Object(ClassKind)
    {
    }

    /// A packet for a port that is closed is dropped.
    void Post(Packet packet) noexcept;
    /// The first packet, or null with WAIT_TIMEOUT or ERROR_ABANDONED_WAIT_0 as the last error.
    Packet Remove(DWORD milliseconds) noexcept;

    void HandleClosed() noexcept override;

protected:
    ~CompletionPort() override;

private:
    /// A thread that waits; lives on its stack.
    struct Waiter
    {
        ThreadRecord& thread;
        CompletionPacket* packet = nullptr;
        std::atomic<bool> decided{false}; // it goes as soon as it knows
        Waiter* previous = nullptr;       // those that began later
        Waiter* next = nullptr;
    };

    // With the lock held:
    CompletionPacket* TakeFirst() noexcept;
    void Link(Waiter& waiter) noexcept;
    void Unlink(Waiter& waiter) noexcept;
    ThreadRecord* Decide(CompletionPacket* packet) noexcept; // for the last to come; null if nobody waits

    std::mutex m_lock; // guards what follows
    CompletionPacket* m_first = nullptr;
    CompletionPacket* m_last = nullptr;
    Waiter* m_waiters = nullptr;
    bool m_closed = false;
};

/// What an operation tells its port at its end: nothing, if there is none.
class CompletionNotice
{
public:
    CompletionNotice() noexcept = default;
    CompletionNotice(Ref<CompletionPort> port, CompletionPort::Packet packet) noexcept
        : m_port(std::move(port))
        , m_packet(std::move(packet))
    {
    }
    bool IsNone() const noexcept
    {
        return m_packet == nullptr;
    }
    void Send(DWORD code, std::size_t bytes) noexcept; // once

private:
    Ref<CompletionPort> m_port;
    CompletionPort::Packet m_packet;
};

/// A file's or pipe's tie to its port, for ever.
class PortAssociation
{
public:
    /// ERROR_INVALID_PARAMETER if there is one already.
    bool Set(Ref<CompletionPort> port, ULONG_PTR key) noexcept;
    /// What the start of an operation with that record has to prepare. False without memory.
    bool Prepare(OVERLAPPED& overlapped, CompletionNotice& notice) const noexcept;

    explicit operator bool() const noexcept
    {
        return static_cast<bool>(m_port);
    }

private:
    Ref<CompletionPort> m_port;
    ULONG_PTR m_key = 0;
};

/// The event that a record names. Its handle's lowest bit, which keeps the port out, is no part of it.
HANDLE EventOf(const OVERLAPPED& overlapped) noexcept;

} // namespace Quoll::Platform
