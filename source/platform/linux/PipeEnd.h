// One end of a pipe: what a pipe's handle names, with the reads and writes under way on it.
//
// The thread that starts an operation does it if it can be done at once. Otherwise the operation
// hangs on its event, and whoever waits there goes on with it; the I/O thread finishes writes that
// nobody waits for, and all that has a completion port. Other operations end with the thread that
// started them.
#pragma once

#include "platform/linux/Event.h"
#include "platform/linux/IoThread.h"
#include "platform/linux/PipeTransport.h"

#include <deque>

namespace Quoll::Platform
{

class TransferOperation;

class PipeEnd : public Object
{
public:
    static constexpr ObjectKind ClassKind = ObjectKind::Pipe;

    BOOL Read(std::byte* buffer, DWORD size, DWORD* read, OVERLAPPED& overlapped) noexcept;
    BOOL Write(const std::byte* body, DWORD size, DWORD* written, OVERLAPPED& overlapped) noexcept;
    /// Cancels the operation with that record, or all if null, of that thread, or of all if 0.
    BOOL Cancel(const OVERLAPPED* overlapped, DWORD thread) noexcept;
    /// The thread ends. What has a port goes on.
    static void CancelAllOfThread(DWORD thread) noexcept;
    /// Does what can be done for the operation with that record without waiting.
    void Advance() noexcept;
    void SetReadMode(bool messages) noexcept;
    BOOL Associate(Ref<CompletionPort> port, ULONG_PTR key) noexcept;
    /// The process at the other end's socket; ERROR_PIPE_NOT_CONNECTED if there is none.
    bool PeerSocket(int& duplicate) noexcept;

    /// Comes before the handle, and HandleClosed after it, whether it could be made or not.
    void HandleOpens() noexcept;

    virtual bool IsServer() const noexcept
    {
        return false;
    }

    Waitable* WaitTarget() noexcept override;
    void HandleClosed() noexcept override;

    // Called by this end's operations.
    void AdvanceReads() noexcept;
    void AdvanceWrites() noexcept;
    void FinishAlone() noexcept; // on the I/O thread
    void LeaveWrites() noexcept; // to the I/O thread

protected:
    /// A client's end is connected when it is made.
    PipeEnd(Ref<PipeTransport> transport, bool messages);
    ~PipeEnd() override;

    // With m_lock held:
    void Attach(Ref<PipeTransport> transport) noexcept;
    /// Ends all transfers with that code, and the connection.
    void Detach(DWORD code, bool disconnect) noexcept;
    virtual DWORD CodeWithoutPeer() const noexcept;
    virtual bool CancelOther(const OVERLAPPED*, DWORD) noexcept
    {
        return false;
    }

    /// The event that the record names, or this end's own; null if it names none.
    Ref<Event> CompletionOf(const OVERLAPPED& overlapped) noexcept;

    std::mutex m_lock;
    Ref<PipeTransport> m_transport;
    PortAssociation m_port; // whose reads are the I/O thread's, too

private:
    using Transfers = std::deque<Ref<TransferOperation>>;

    BOOL Start(Transfers& transfers, const Ref<TransferOperation>& operation, DWORD* transferred) noexcept;
    bool HasPort() noexcept;
    void Settle(Transfers& transfers) noexcept; // with m_lock held
    bool CancelIn(Transfers& transfers, const OVERLAPPED* overlapped, DWORD thread) noexcept;
    // With m_lock held:
    bool HasUnattendedWrites() const noexcept;
    void WatchUnattended() noexcept;
    bool HasWatch() noexcept; // of its connection; false with the last error if there can't be one

    Ref<Event> m_ownEvent; // signalled by operations without one, and by waits on the handle
    bool m_messages;
    IoThread::Id m_watch = 0;
    Transfers m_reads;
    Transfers m_writes;
    PipeEnd* m_previous = nullptr; // among all ends with an open handle
    PipeEnd* m_next = nullptr;
};

/// The end that CreateFileW gives.
class ClientEnd final : public PipeEnd
{
public:
    explicit ClientEnd(Ref<PipeTransport> transport)
        : PipeEnd(std::move(transport), false)
    {
    }
};

} // namespace Quoll::Platform
