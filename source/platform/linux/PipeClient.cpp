#include "platform/linux/PipeClient.h"

#include "platform/linux/Deadline.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Fork.h"
#include "platform/linux/SocketTransport.h"

#include <cerrno>
#include <memory>
#include <new>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr DWORD answerLimit = 5000; // milliseconds; a server that is stopped never answers
constexpr DWORD retryPause = 20;

/// A socket that is closed unless it is taken.
class Socket
{
public:
    Socket() noexcept
        : m_descriptor(NoteOwned(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)))
    {
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket()
    {
        CloseOwned(m_descriptor);
    }
    int Get() const noexcept
    {
        return m_descriptor;
    }
    int Take() noexcept
    {
        return std::exchange(m_descriptor, -1);
    }

private:
    int m_descriptor;
};

DWORD ConnectTo(const Socket& socket, const PipeAddress& address) noexcept
{
    if (socket.Get() < 0)
    {
        return FromErrno(errno);
    }
    if (address.Connect(socket.Get()) == 0)
    {
        return ERROR_SUCCESS;
    }
    switch (errno)
    {
    case ECONNREFUSED:
        return ERROR_FILE_NOT_FOUND;
    case EAGAIN: // the backlog is full
        return ERROR_PIPE_BUSY;
    default:
        return FromErrno(errno);
    }
}

DWORD SayHello(const Socket& socket, HelloKind kind) noexcept
{
    const Hello hello = MakeHello(kind);
    const ssize_t sent = send(socket.Get(), hello.data(), hello.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    return sent == static_cast<ssize_t>(hello.size()) ? ERROR_SUCCESS : ERROR_PIPE_BUSY;
}

// A server that hangs up without an answer has just gone.
DWORD AwaitAnswer(const Socket& socket, const Deadline& deadline, PipeAnswer& answer, int& descriptor) noexcept
{
    for (;;)
    {
        const DWORD code = ReceiveAnswer(socket.Get(), answer, descriptor);
        if (code != ERROR_IO_PENDING)
        {
            return code == ERROR_SUCCESS ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
        }
        if (deadline.HasPassed())
        {
            return ERROR_SEM_TIMEOUT;
        }
        pollfd readable{socket.Get(), POLLIN, 0};
        const timespec left = deadline.Remaining();
        ppoll(&readable, 1, deadline.IsNever() ? nullptr : &left, nullptr);
    }
}

Ref<PipeTransport> MakeTransport(Socket& socket, int descriptor) noexcept
{
    auto page = std::unique_ptr<ControlPage>(new (std::nothrow) ControlPage);
    const bool mapped = page && page->Map(descriptor);
    if (!mapped)
    {
        Fail(ERROR_BAD_PIPE);
        return {};
    }
    const std::uint32_t sendBuffer = page->ClientSendBuffer();
    auto* const transport = new (std::nothrow) SocketTransport(socket.Get(), std::move(page));
    if (transport == nullptr)
    {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return {};
    }
    socket.Take();
    transport->SetSendBuffer(sendBuffer);
    return Ref<PipeTransport>::Adopt(transport);
}

// One attempt; ERROR_PIPE_BUSY if the server had no place for it.
DWORD AskForInstance(const PipeAddress& address, Deadline& deadline, bool useDefault) noexcept
{
    const Socket socket;
    DWORD code = ConnectTo(socket, address);
    if (code == ERROR_SUCCESS)
    {
        code = SayHello(socket, HelloKind::Wait);
    }
    PipeAnswer answer{};
    int descriptor = -1;
    const Deadline first = Deadline::In(answerLimit);
    if (code == ERROR_SUCCESS)
    {
        code = AwaitAnswer(socket, first, answer, descriptor);
    }
    if (code == ERROR_SUCCESS && answer.code == ERROR_IO_PENDING)
    {
        if (useDefault)
        {
            deadline = Deadline::In(answer.value);
        }
        code = AwaitAnswer(socket, deadline, answer, descriptor);
    }
    CloseOwned(descriptor);
    return code == ERROR_SUCCESS ? answer.code : code;
}

} // namespace

Ref<PipeTransport> OpenInstance(const PipeAddress& address) noexcept
{
    Socket socket;
    DWORD code = ConnectTo(socket, address);
    if (code == ERROR_SUCCESS)
    {
        code = SayHello(socket, HelloKind::Open);
    }
    PipeAnswer answer{};
    int descriptor = -1;
    if (code == ERROR_SUCCESS)
    {
        code = AwaitAnswer(socket, Deadline::In(answerLimit), answer, descriptor);
    }
    Ref<PipeTransport> transport;
    if (code == ERROR_SUCCESS && answer.code == ERROR_SUCCESS)
    {
        transport = MakeTransport(socket, descriptor);
    }
    else
    {
        Fail(code != ERROR_SUCCESS ? code : answer.code);
    }
    CloseOwned(descriptor);
    return transport;
}

bool WaitForInstance(const PipeAddress& address, DWORD milliseconds) noexcept
{
    const bool useDefault = milliseconds == NMPWAIT_USE_DEFAULT_WAIT;
    Deadline deadline = Deadline::In(useDefault ? answerLimit : milliseconds);
    for (;;)
    {
        const DWORD code = AskForInstance(address, deadline, useDefault);
        if (code != ERROR_PIPE_BUSY)
        {
            return code == ERROR_SUCCESS || Fail(code) != FALSE;
        }
        if (deadline.HasPassed())
        {
            return Fail(ERROR_SEM_TIMEOUT) != FALSE;
        }
        Sleep(retryPause);
    }
}

} // namespace Quoll::Platform
