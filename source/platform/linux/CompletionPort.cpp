#include "platform/linux/CompletionPort.h"

#include "platform/linux/Deadline.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileObject.h"
#include "platform/linux/HandleTable.h"
#include "platform/linux/PipeEnd.h"

#include <bit>
#include <new>

namespace Quoll::Platform
{
namespace
{

constexpr std::uintptr_t keepsPortOut = 1;

} // namespace

CompletionPort::~CompletionPort()
{
    while (m_first != nullptr)
    {
        delete TakeFirst();
    }
}

CompletionPacket* CompletionPort::TakeFirst() noexcept
{
    CompletionPacket* const first = m_first;
    if (first != nullptr)
    {
        m_first = first->next;
    }
    return first;
}

void CompletionPort::Link(Waiter& waiter) noexcept
{
    waiter.next = m_waiters;
    if (m_waiters != nullptr)
    {
        m_waiters->previous = &waiter;
    }
    m_waiters = &waiter;
}

void CompletionPort::Unlink(Waiter& waiter) noexcept
{
    (waiter.previous != nullptr ? waiter.previous->next : m_waiters) = waiter.next;
    if (waiter.next != nullptr)
    {
        waiter.next->previous = waiter.previous;
    }
}

ThreadRecord* CompletionPort::Decide(CompletionPacket* packet) noexcept
{
    if (m_waiters == nullptr)
    {
        return nullptr;
    }
    Waiter& waiter = *m_waiters;
    Unlink(waiter);
    ThreadRecord& thread = waiter.thread;
    waiter.packet = packet;
    waiter.decided.store(true, std::memory_order_release);
    return &thread;
}

void CompletionPort::Post(Packet packet) noexcept
{
    ThreadRecord* thread = nullptr;
    {
        const std::lock_guard guard(m_lock);
        if (m_closed)
        {
            return;
        }
        thread = Decide(packet.get());
        if (thread == nullptr)
        {
            packet->next = nullptr;
            (m_first != nullptr ? m_last->next : m_first) = packet.get();
            m_last = packet.get();
        }
        // NOLINTNEXTLINE(bugprone-unused-return-value): it is the queue's now, or the waiter's
        packet.release();
    }
    if (thread != nullptr)
    {
        thread->parker.Unpark();
    }
}

CompletionPort::Packet CompletionPort::Remove(DWORD milliseconds) noexcept
{
    const Deadline deadline = Deadline::In(milliseconds);
    Waiter waiter{ThreadRecord::Current()};
    {
        const std::lock_guard guard(m_lock);
        waiter.packet = TakeFirst();
        if (waiter.packet != nullptr)
        {
            return Packet(waiter.packet);
        }
        if (m_closed || milliseconds == 0)
        {
            Fail(m_closed ? ERROR_ABANDONED_WAIT_0 : WAIT_TIMEOUT);
            return nullptr;
        }
        Link(waiter);
    }
    while (!waiter.decided.load(std::memory_order_acquire))
    {
        waiter.thread.parker.Park(deadline);
        if (deadline.HasPassed())
        {
            const std::lock_guard guard(m_lock);
            if (!waiter.decided.load(std::memory_order_relaxed))
            {
                Unlink(waiter);
                Fail(WAIT_TIMEOUT);
                return nullptr;
            }
        }
    }
    if (waiter.packet == nullptr)
    {
        Fail(ERROR_ABANDONED_WAIT_0);
    }
    return Packet(waiter.packet);
}

void CompletionPort::HandleClosed() noexcept
{
    for (;;)
    {
        ThreadRecord* thread = nullptr;
        {
            const std::lock_guard guard(m_lock);
            m_closed = true;
            thread = Decide(nullptr);
        }
        if (thread == nullptr)
        {
            return;
        }
        thread->parker.Unpark();
    }
}

void CompletionNotice::Send(DWORD code, std::size_t bytes) noexcept
{
    if (m_packet != nullptr)
    {
        m_packet->code = code;
        m_packet->bytes = static_cast<DWORD>(bytes);
        m_port->Post(std::move(m_packet));
    }
}

bool PortAssociation::Set(Ref<CompletionPort> port, ULONG_PTR key) noexcept
{
    if (m_port)
    {
        return Fail(ERROR_INVALID_PARAMETER) != FALSE;
    }
    m_port = std::move(port);
    m_key = key;
    return true;
}

bool PortAssociation::Prepare(OVERLAPPED& overlapped, CompletionNotice& notice) const noexcept
{
    if (!m_port || (std::bit_cast<std::uintptr_t>(overlapped.hEvent) & keepsPortOut) != 0)
    {
        return true;
    }
    notice = CompletionNotice(m_port, CompletionPort::Packet(new (std::nothrow) CompletionPacket{m_key, &overlapped}));
    return !notice.IsNone() || Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

HANDLE EventOf(const OVERLAPPED& overlapped) noexcept
{
    return std::bit_cast<HANDLE>(std::bit_cast<std::uintptr_t>(overlapped.hEvent) & ~keepsPortOut);
}

namespace
{

HANDLE MakePort() noexcept
{
    if (!HandleTable::IsValid())
    {
        Fail(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const auto port = Ref<CompletionPort>::Adopt(new (std::nothrow) CompletionPort);
    if (!port)
    {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return HandleTable::Insert(Ref<Object>(port.Get()));
}

bool Associate(HANDLE file, HANDLE port, ULONG_PTR key) noexcept
{
    const Pinned<CompletionPort> to(port);
    const Pinned<Object> object(file);
    if (!to || !object)
    {
        return false;
    }
    const Ref<CompletionPort> owner(&*to);
    switch (object->Kind())
    {
    case ObjectKind::Pipe:
        return static_cast<PipeEnd&>(*object).Associate(owner, key);
    case ObjectKind::File:
        return static_cast<FileObject&>(*object).Associate(owner, key);
    default:
        return Fail(ERROR_INVALID_HANDLE) != FALSE;
    }
}

} // namespace

} // namespace Quoll::Platform

using namespace Quoll::Platform;

extern "C"
{

    HANDLE CreateIoCompletionPort(HANDLE file, HANDLE port, ULONG_PTR key, DWORD) noexcept
    {
        if (file == INVALID_HANDLE_VALUE && port != nullptr)
        {
            Fail(ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        const HANDLE to = port != nullptr ? port : MakePort();
        if (to == nullptr || file == INVALID_HANDLE_VALUE || Associate(file, to, key))
        {
            return to;
        }
        if (port == nullptr)
        {
            const DWORD code = GetLastError();
            CloseHandle(to);
            Fail(code);
        }
        return nullptr;
    }

    BOOL PostQueuedCompletionStatus(HANDLE port, DWORD bytes, ULONG_PTR key, OVERLAPPED* overlapped) noexcept
    {
        const Pinned<CompletionPort> to(port);
        if (!to)
        {
            return FALSE;
        }
        auto packet =
            CompletionPort::Packet(new (std::nothrow) CompletionPacket{key, overlapped, ERROR_SUCCESS, bytes});
        if (packet == nullptr)
        {
            return Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        to->Post(std::move(packet));
        return TRUE;
    }

    BOOL GetQueuedCompletionStatus(HANDLE port, DWORD* bytes, ULONG_PTR* key, OVERLAPPED** overlapped,
                                   DWORD milliseconds) noexcept
    {
        if (bytes == nullptr || key == nullptr || overlapped == nullptr)
        {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        *overlapped = nullptr;
        const Pinned<CompletionPort> from(port);
        const auto packet = from ? from->Remove(milliseconds) : nullptr;
        if (packet == nullptr)
        {
            return FALSE;
        }
        *bytes = packet->bytes;
        *key = packet->key;
        *overlapped = packet->overlapped;
        return packet->code == ERROR_SUCCESS ? TRUE : Fail(packet->code);
    }

} // extern "C"
