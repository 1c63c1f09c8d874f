#include "platform/linux/Handshake.h"

#include "platform/linux/Fork.h"
#include "platform/linux/PipeName.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <sys/socket.h>

namespace Quoll::Platform
{

Handshake::Handshake(int socket, PipeName& name) noexcept
    : m_socket(socket)
    , m_name(&name)
{
}

Handshake::~Handshake()
{
    CloseOwned(m_socket);
}

DWORD Handshake::ReadHello(HelloKind& kind) noexcept
{
    while (m_got < m_hello.size())
    {
        const ssize_t count = recv(m_socket, m_hello.data() + m_got, m_hello.size() - m_got, MSG_DONTWAIT);
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0)
        {
            return count < 0 && errno == EAGAIN ? ERROR_IO_PENDING : ERROR_INVALID_DATA;
        }
        m_got += static_cast<std::size_t>(count);
    }
    kind = static_cast<HelloKind>(m_hello.back());
    const bool known = kind == HelloKind::Open || kind == HelloKind::Wait;
    return known && m_hello == MakeHello(kind) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

void Handshake::Ready() noexcept
{
    HelloKind kind{};
    const DWORD code = m_parked ? ERROR_INVALID_DATA : ReadHello(kind);
    if (code == ERROR_SUCCESS)
    {
        m_name->Serve(*this, kind);
    }
    else if (code != ERROR_IO_PENDING)
    {
        m_name->Drop(*this);
    }
}

void Handshake::TimedOut() noexcept
{
    if (m_parked)
    {
        m_name->GiveUp(*this);
    }
    else
    {
        m_name->Drop(*this);
    }
}

void Handshake::GiveSocketAway() noexcept
{
    m_socket = -1;
}

bool Handshake::StartWatching(DWORD limit) noexcept
{
    if (m_watch == 0)
    {
        IoThread& thread = *IoThread::Running();
        m_watch = thread.Add(Ref<IoSource>(this), m_socket, IoThread::Watch::Input);
        if (m_watch != 0 && limit != INFINITE)
        {
            thread.SetTimer(m_watch, limit);
        }
    }
    return m_watch != 0;
}

void Handshake::Park() noexcept
{
    m_parked = true;
}

void Handshake::StopWatching() noexcept
{
    if (m_watch != 0)
    {
        IoThread::Running()->Remove(std::exchange(m_watch, 0));
    }
}

void Handshake::End() noexcept
{
    m_ended = true;
    StopWatching();
}

void Handshake::End(DWORD code) noexcept
{
    SendAnswer(m_socket, {code, 0});
    End();
}

} // namespace Quoll::Platform
