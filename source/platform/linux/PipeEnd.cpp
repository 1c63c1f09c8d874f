#include "platform/linux/PipeEnd.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/HandleTable.h"
#include "platform/linux/PipeTransfer.h"

#include <algorithm>
#include <new>
#include <vector>

#include <fcntl.h>

namespace Quoll::Platform
{

using namespace Quoll::Literals;

namespace
{

/// Lets the I/O thread finish an end's transfers.
class Finisher final : public IoSource
{
public:
    explicit Finisher(PipeEnd& end) noexcept
        : m_end(&end)
    {
    }
    void Ready() noexcept override
    {
        m_end->FinishAlone();
    }

private:
    Ref<PipeEnd> m_end;
};

constinit std::mutex openEndsLock;
constinit PipeEnd* firstOpenEnd = nullptr; // guarded by openEndsLock

} // namespace

PipeEnd::PipeEnd(Ref<PipeTransport> transport, bool messages)
    : Object(ClassKind)
    , m_transport(std::move(transport))
    , m_ownEvent(Ref<Event>::Adopt(new Event(true, false)))
    , m_messages(messages)
{
}

PipeEnd::~PipeEnd() = default;

void PipeEnd::HandleOpens() noexcept
{
    const std::lock_guard guard(openEndsLock);
    m_next = firstOpenEnd;
    if (m_next != nullptr)
    {
        m_next->m_previous = this;
    }
    firstOpenEnd = this;
}

void PipeEnd::CancelAllOfThread(DWORD thread) noexcept
try
{
    std::vector<Ref<PipeEnd>> ends;
    {
        const std::lock_guard guard(openEndsLock);
        for (PipeEnd* end = firstOpenEnd; end != nullptr; end = end->m_next)
        {
            ends.emplace_back(end);
        }
    }
    for (const auto& end : ends)
    {
        if (!end->HasPort())
        {
            end->Cancel(nullptr, thread);
        }
    }
}
catch (const std::bad_alloc&)
{
    // They stay pending until they complete or their pipe is closed.
    OutputDebugStringW("Out of memory: the operations of a thread that ends aren't cancelled.\r\n"_w);
}

Waitable* PipeEnd::WaitTarget() noexcept
{
    return m_ownEvent.Get();
}

Ref<Event> PipeEnd::CompletionOf(const OVERLAPPED& overlapped) noexcept
{
    const HANDLE event = EventOf(overlapped);
    if (event == nullptr)
    {
        return m_ownEvent;
    }
    const Pinned<Event> named(event);
    return named ? Ref<Event>(&*named) : Ref<Event>();
}

DWORD PipeEnd::CodeWithoutPeer() const noexcept
{
    return ERROR_PIPE_NOT_CONNECTED;
}

BOOL PipeEnd::Read(std::byte* buffer, DWORD size, DWORD* read, OVERLAPPED& overlapped) noexcept
{
    auto completion = CompletionOf(overlapped);
    if (!completion)
    {
        return FALSE;
    }
    const std::lock_guard guard(m_lock);
    return Start(m_reads,
                 Ref<TransferOperation>::Adopt(new (std::nothrow) ReadOperation(overlapped, std::move(completion),
                                                                                *this, m_transport, {buffer, size, 0})),
                 read);
}

BOOL PipeEnd::Write(const std::byte* body, DWORD size, DWORD* written, OVERLAPPED& overlapped) noexcept
{
    auto completion = CompletionOf(overlapped);
    if (!completion)
    {
        return FALSE;
    }
    const std::lock_guard guard(m_lock);
    return Start(m_writes,
                 Ref<TransferOperation>::Adopt(new (std::nothrow) WriteOperation(overlapped, std::move(completion),
                                                                                 *this, m_transport, {body, size, 0})),
                 written);
}

// With m_lock held. Transfers of one direction are done in their order.
BOOL PipeEnd::Start(Transfers& transfers, const Ref<TransferOperation>& operation, DWORD* transferred) noexcept
try
{
    if (!operation)
    {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (transferred != nullptr)
    {
        *transferred = 0;
    }
    OVERLAPPED& record = *operation->Record();
    CompletionNotice notice;
    if (!m_port.Prepare(record, notice))
    {
        return FALSE;
    }
    operation->SetNotice(std::move(notice));
    operation->Begin();
    if (!m_transport)
    {
        return Fail(CodeWithoutPeer());
    }
    if (m_port && !HasWatch())
    {
        return FALSE;
    }
    const DWORD code = transfers.empty() ? operation->Step(m_messages) : ERROR_IO_PENDING;
    if (code == ERROR_IO_PENDING)
    {
        StorePending(record);
        transfers.push_back(operation);
        operation->Attach();
        WatchUnattended();
        return Fail(ERROR_IO_PENDING);
    }
    if (code == ERROR_SUCCESS || code == ERROR_MORE_DATA)
    {
        operation->Complete(code, operation->Transferred());
    }
    if (code != ERROR_SUCCESS)
    {
        return Fail(code);
    }
    if (transferred != nullptr)
    {
        *transferred = static_cast<DWORD>(operation->Transferred());
    }
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

void PipeEnd::Settle(Transfers& transfers) noexcept
{
    while (!transfers.empty())
    {
        const auto operation = transfers.front();
        const DWORD code = operation->Step(m_messages);
        if (code == ERROR_IO_PENDING)
        {
            return;
        }
        transfers.pop_front();
        operation->Complete(code, operation->Transferred());
    }
}

void PipeEnd::AdvanceReads() noexcept
{
    const std::lock_guard guard(m_lock);
    Settle(m_reads);
}

void PipeEnd::AdvanceWrites() noexcept
{
    const std::lock_guard guard(m_lock);
    Settle(m_writes);
    WatchUnattended();
}

void PipeEnd::Advance() noexcept
{
    AdvanceReads();
    AdvanceWrites();
}

// A write that no waiting thread works for is the I/O thread's.
bool PipeEnd::HasUnattendedWrites() const noexcept
{
    return !m_writes.empty() && !m_writes.front()->HasWorkers();
}

void PipeEnd::WatchUnattended() noexcept
{
    const bool reads = m_port && !m_reads.empty();
    const bool writes = HasUnattendedWrites();
    if ((reads || writes) && HasWatch()) // without one, whoever waits for a write still finishes it
    {
        IoThread::Running()->Arm(m_watch, reads, writes);
    }
}

bool PipeEnd::HasWatch() noexcept
{
    IoThread* const thread = IoThread::Running();
    if (thread == nullptr || m_watch != 0)
    {
        return thread != nullptr;
    }
    auto* const finisher = new (std::nothrow) Finisher(*this);
    if (finisher == nullptr)
    {
        return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
    }
    m_watch = thread->Add(Ref<IoSource>::Adopt(finisher), m_transport->Descriptor(), IoThread::Watch::Once);
    return m_watch != 0;
}

void PipeEnd::FinishAlone() noexcept
{
    const std::lock_guard guard(m_lock);
    if (HasUnattendedWrites())
    {
        Settle(m_writes);
    }
    if (m_port)
    {
        Settle(m_reads);
    }
    WatchUnattended();
}

void PipeEnd::LeaveWrites() noexcept
{
    const std::lock_guard guard(m_lock);
    WatchUnattended();
}

BOOL PipeEnd::Cancel(const OVERLAPPED* overlapped, DWORD thread) noexcept
{
    const std::lock_guard guard(m_lock);
    const bool reads = CancelIn(m_reads, overlapped, thread);
    const bool writes = CancelIn(m_writes, overlapped, thread);
    WatchUnattended();
    const bool other = CancelOther(overlapped, thread);
    return reads || writes || other ? TRUE : Fail(ERROR_NOT_FOUND);
}

bool PipeEnd::CancelIn(Transfers& transfers, const OVERLAPPED* overlapped, DWORD thread) noexcept
{
    bool found = false;
    for (auto place = transfers.begin(); place != transfers.end();)
    {
        const auto operation = *place;
        const bool meant = (overlapped == nullptr || operation->Record() == overlapped) &&
                           (thread == 0 || operation->Thread() == thread);
        found = found || meant;
        if (meant && operation->Withdraw())
        {
            place = transfers.erase(place);
            operation->Complete(ERROR_OPERATION_ABORTED, 0);
        }
        else
        {
            ++place;
        }
    }
    return found;
}

bool PipeEnd::HasPort() noexcept
{
    const std::lock_guard guard(m_lock);
    return static_cast<bool>(m_port);
}

BOOL PipeEnd::Associate(Ref<CompletionPort> port, ULONG_PTR key) noexcept
{
    const std::lock_guard guard(m_lock);
    const bool set = m_port.Set(std::move(port), key);
    if (set)
    {
        WatchUnattended();
    }
    return set ? TRUE : FALSE;
}

void PipeEnd::SetReadMode(bool messages) noexcept
{
    const std::lock_guard guard(m_lock);
    m_messages = messages;
}

bool PipeEnd::PeerSocket(int& duplicate) noexcept
{
    const std::lock_guard guard(m_lock);
    if (!m_transport)
    {
        Fail(ERROR_PIPE_NOT_CONNECTED);
        return false;
    }
    duplicate = fcntl(m_transport->Descriptor(), F_DUPFD_CLOEXEC, 0);
    if (duplicate < 0)
    {
        FailWithErrno();
    }
    return duplicate >= 0;
}

void PipeEnd::Attach(Ref<PipeTransport> transport) noexcept
{
    m_transport = std::move(transport);
}

void PipeEnd::Detach(DWORD code, bool disconnect) noexcept
{
    if (!m_transport)
    {
        return;
    }
    if (m_watch != 0)
    {
        IoThread::Running()->Remove(std::exchange(m_watch, 0));
    }
    if (disconnect)
    {
        m_transport->Disconnect();
    }
    else
    {
        m_transport->Close();
    }
    m_transport = Ref<PipeTransport>();
    for (Transfers* const transfers : {&m_reads, &m_writes})
    {
        while (!transfers->empty())
        {
            const auto operation = transfers->front();
            transfers->pop_front();
            operation->Complete(code, 0);
        }
    }
}

void PipeEnd::HandleClosed() noexcept
{
    {
        const std::lock_guard guard(openEndsLock);
        (m_previous != nullptr ? m_previous->m_next : firstOpenEnd) = m_next;
        if (m_next != nullptr)
        {
            m_next->m_previous = m_previous;
        }
    }
    const std::lock_guard guard(m_lock);
    Detach(ERROR_BROKEN_PIPE, false);
}

} // namespace Quoll::Platform
