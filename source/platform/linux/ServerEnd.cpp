#include "platform/linux/ServerEnd.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Fork.h"
#include "platform/linux/PipeName.h"
#include "platform/linux/SocketTransport.h"

#include <new>

#include <unistd.h>

namespace Quoll::Platform
{

/// A server that waits for its client. The I/O thread completes it, with the handshake.
class ServerEnd::ConnectOperation final : public Operation
{
public:
    using Operation::Operation;

    int Descriptor() const noexcept override
    {
        return -1;
    }
    short PollEvents() const noexcept override
    {
        return 0;
    }
    void Advance() noexcept override
    {
    }
};

ServerEnd::ServerEnd(const PipeSettings& settings)
    : PipeEnd(Ref<PipeTransport>(), settings.messages)
    , m_outBufferSize(settings.outBufferSize)
    , m_inBufferSize(settings.inBufferSize)
{
}

ServerEnd::~ServerEnd() = default;

void ServerEnd::SetName(Ref<PipeName> name) noexcept
{
    m_name = std::move(name);
}

DWORD ServerEnd::CodeWithoutPeer() const noexcept
{
    return m_state == State::Listening ? ERROR_PIPE_LISTENING : ERROR_PIPE_NOT_CONNECTED;
}

BOOL ServerEnd::Connect(OVERLAPPED& overlapped) noexcept
{
    auto completion = CompletionOf(overlapped);
    if (!completion)
    {
        return FALSE;
    }
    {
        const std::lock_guard guard(m_lock);
        if (m_state == State::Connected)
        {
            return Fail(m_transport->IsPeerGone() ? ERROR_NO_DATA : ERROR_PIPE_CONNECTED);
        }
        if (m_connect)
        {
            return Fail(ERROR_PIPE_LISTENING);
        }
        const auto operation =
            Ref<Operation>::Adopt(new (std::nothrow) ConnectOperation(&overlapped, std::move(completion)));
        if (!operation)
        {
            return Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        CompletionNotice notice;
        if (!m_port.Prepare(overlapped, notice))
        {
            return FALSE;
        }
        operation->SetNotice(std::move(notice));
        StorePending(overlapped);
        operation->Begin();
        operation->Attach();
        m_connect = operation;
        m_state = State::Listening;
    }
    m_name->InstanceListens();
    return Fail(ERROR_IO_PENDING);
}

BOOL ServerEnd::Disconnect() noexcept
{
    const std::lock_guard guard(m_lock);
    if (m_state == State::Disconnected)
    {
        return Fail(ERROR_PIPE_NOT_CONNECTED);
    }
    m_state = State::Disconnected;
    EndConnect(ERROR_PIPE_NOT_CONNECTED);
    Detach(ERROR_PIPE_NOT_CONNECTED, true);
    return TRUE;
}

void ServerEnd::EndConnect(DWORD code) noexcept
{
    if (const auto operation = std::exchange(m_connect, Ref<Operation>()))
    {
        operation->Complete(code, 0);
    }
}

bool ServerEnd::CancelOther(const OVERLAPPED* overlapped, DWORD thread) noexcept
{
    const bool meant = m_connect && (overlapped == nullptr || m_connect->Record() == overlapped) &&
                       (thread == 0 || m_connect->Thread() == thread);
    if (meant)
    {
        EndConnect(ERROR_OPERATION_ABORTED);
    }
    return meant;
}

bool ServerEnd::IsListening() noexcept
{
    const std::lock_guard guard(m_lock);
    return m_state == State::Listening;
}

DWORD ServerEnd::TryAttach(int socket) noexcept
{
    const std::lock_guard guard(m_lock);
    if (m_state != State::Listening)
    {
        return ERROR_PIPE_BUSY;
    }
    auto page = std::unique_ptr<ControlPage>(new (std::nothrow) ControlPage);
    int descriptor = -1;
    if (!page || !page->Create(m_inBufferSize, descriptor))
    {
        return ERROR_TOO_MANY_OPEN_FILES;
    }
    auto* const transport = new (std::nothrow) SocketTransport(socket, std::move(page));
    const bool answered = transport != nullptr && SendAnswer(socket, {ERROR_SUCCESS, 0}, descriptor);
    close(descriptor);
    if (!answered)
    {
        if (transport != nullptr)
        {
            transport->GiveSocketBack();
            transport->Release();
        }
        return transport != nullptr ? ERROR_BROKEN_PIPE : ERROR_TOO_MANY_OPEN_FILES;
    }
    transport->SetSendBuffer(m_outBufferSize);
    Attach(Ref<PipeTransport>::Adopt(transport));
    m_state = State::Connected;
    EndConnect(ERROR_SUCCESS);
    return ERROR_SUCCESS;
}

void ServerEnd::HandleClosed() noexcept
{
    m_name->Leave(*this);
    {
        const std::lock_guard guard(m_lock);
        m_state = State::Disconnected;
        EndConnect(ERROR_BROKEN_PIPE);
    }
    PipeEnd::HandleClosed();
}

} // namespace Quoll::Platform
