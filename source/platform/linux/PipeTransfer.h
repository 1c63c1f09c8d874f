// Reads and writes of a pipe's end that can't be done at once.
#pragma once

#include "platform/linux/PipeEnd.h"

#include <poll.h>

namespace Quoll::Platform
{

/// One transfer: it belongs to its end, whose lock guards it.
class TransferOperation : public Operation
{
public:
    TransferOperation(OVERLAPPED& overlapped, Ref<Event> completion, PipeEnd& end,
                      Ref<PipeTransport> transport) noexcept
        : Operation(&overlapped, std::move(completion))
        , m_end(&end)
        , m_transport(std::move(transport))
    {
    }

    int Descriptor() const noexcept override
    {
        return m_transport ? m_transport->Descriptor() : -1;
    }

    // With the end's lock held:
    /// Goes on with the transfer; ERROR_IO_PENDING if it has to wait.
    virtual DWORD Step(bool messages) noexcept = 0;
    virtual std::size_t Transferred() const noexcept = 0;
    /// False if too late.
    virtual bool Withdraw() noexcept = 0;

    bool HasWorkers() const noexcept
    {
        return m_workers.load(std::memory_order_acquire) > 0;
    }
    void WaitBegins() noexcept override
    {
        m_workers.fetch_add(1, std::memory_order_acq_rel);
    }

protected:
    Ref<PipeEnd> m_end;
    Ref<PipeTransport> m_transport; // keeps the descriptor while it is polled
    std::atomic<int> m_workers{0};
};

class ReadOperation final : public TransferOperation
{
public:
    ReadOperation(OVERLAPPED& overlapped, Ref<Event> completion, PipeEnd& end, Ref<PipeTransport> transport,
                  Incoming incoming) noexcept
        : TransferOperation(overlapped, std::move(completion), end, std::move(transport))
        , m_incoming(incoming)
    {
    }
    short PollEvents() const noexcept override
    {
        return POLLIN;
    }
    void Advance() noexcept override
    {
        m_end->AdvanceReads();
    }
    void WaitEnds() noexcept override
    {
        m_workers.fetch_sub(1, std::memory_order_acq_rel);
    }
    DWORD Step(bool messages) noexcept override
    {
        const DWORD code = m_transport->Take(m_incoming);
        const bool anything = code == ERROR_MORE_DATA || (code == ERROR_IO_PENDING && m_incoming.filled > 0);
        return !messages && anything ? ERROR_SUCCESS : code;
    }
    std::size_t Transferred() const noexcept override
    {
        return m_incoming.filled;
    }
    bool Withdraw() noexcept override
    {
        return m_incoming.filled == 0 || m_transport->PutBack({m_incoming.buffer, m_incoming.filled});
    }

private:
    Incoming m_incoming;
};

class WriteOperation final : public TransferOperation
{
public:
    WriteOperation(OVERLAPPED& overlapped, Ref<Event> completion, PipeEnd& end, Ref<PipeTransport> transport,
                   Outgoing outgoing) noexcept
        : TransferOperation(overlapped, std::move(completion), end, std::move(transport))
        , m_outgoing(outgoing)
    {
    }
    short PollEvents() const noexcept override
    {
        return POLLOUT;
    }
    void Advance() noexcept override
    {
        m_end->AdvanceWrites();
    }
    void WaitEnds() noexcept override
    {
        if (m_workers.fetch_sub(1, std::memory_order_acq_rel) == 1 && !IsDone())
        {
            m_end->LeaveWrites();
        }
    }
    DWORD Step(bool) noexcept override
    {
        return m_transport->Send(m_outgoing);
    }
    std::size_t Transferred() const noexcept override
    {
        return m_outgoing.size;
    }
    bool Withdraw() noexcept override
    {
        return m_outgoing.sent == 0; // a message that is partly on its way completes
    }

private:
    Outgoing m_outgoing;
};

} // namespace Quoll::Platform
