#include "platform/linux/SocketTransport.h"

#include "platform/linux/Fork.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace Quoll::Platform
{

namespace
{

constexpr std::size_t headerSize = 4;
constexpr int mostSendsAtOnce = 16;

std::array<std::byte, headerSize> MakeHeader(std::size_t length) noexcept
{
    std::array<std::byte, headerSize> header{};
    for (std::size_t i = 0; i < headerSize; ++i)
    {
        header[i] = static_cast<std::byte>(length >> (8 * i));
    }
    return header;
}

} // namespace

SocketTransport::SocketTransport(int socket, std::unique_ptr<ControlPage> page) noexcept
    : m_socket(socket)
    , m_page(std::move(page))
{
}

SocketTransport::~SocketTransport()
{
    CloseOwned(m_socket);
}

void SocketTransport::SetSendBuffer(std::uint32_t bytes) noexcept
{
    const int size = static_cast<int>(std::min<std::uint32_t>(bytes, std::numeric_limits<int>::max() / 2));
    if (size != 0)
    {
        setsockopt(m_socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    }
}

int SocketTransport::Descriptor() const noexcept
{
    return m_socket;
}

DWORD SocketTransport::Take(Incoming& read) noexcept
{
    for (;;)
    {
        if (m_page->IsDisconnected())
        {
            return ERROR_PIPE_NOT_CONNECTED;
        }
        if (!m_inMessage && !ParseHeader())
        {
            if (const DWORD code = Stage(); code != ERROR_SUCCESS)
            {
                return code;
            }
            continue;
        }
        if (const DWORD code = TakeBody(read); code != ERROR_SUCCESS)
        {
            return code;
        }
        if (m_remaining == 0)
        {
            m_inMessage = false;
            return ERROR_SUCCESS;
        }
        if (read.filled == read.size)
        {
            return ERROR_MORE_DATA;
        }
    }
}

// One step: what is here already, or one receive; a large rest goes straight to the caller.
DWORD SocketTransport::TakeBody(Incoming& read) noexcept
{
    const std::size_t wanted = std::min<std::uint64_t>(read.size - read.filled, m_remaining);
    std::size_t got = TakeStaged(read.buffer + read.filled, wanted);
    DWORD code = ERROR_SUCCESS;
    if (got == 0 && wanted >= stagingSize)
    {
        code = Receive(read.buffer + read.filled, wanted, got);
    }
    else if (got == 0 && wanted > 0)
    {
        code = Stage();
    }
    read.filled += got;
    m_remaining -= got;
    return code;
}

std::size_t SocketTransport::TakeStaged(std::byte* to, std::size_t size) noexcept
{
    const std::size_t returned = std::min(size, m_returned.size());
    std::copy_n(m_returned.begin(), returned, to);
    m_returned.erase(m_returned.begin(), m_returned.begin() + static_cast<std::ptrdiff_t>(returned));
    const std::size_t staged = std::min(size - returned, Staged());
    std::copy_n(m_staging.begin() + static_cast<std::ptrdiff_t>(m_begin), staged, to + returned);
    m_begin += staged;
    return returned + staged;
}

bool SocketTransport::ParseHeader() noexcept
{
    if (Staged() < headerSize)
    {
        return false;
    }
    std::array<std::byte, headerSize> header{};
    TakeStaged(header.data(), header.size());
    m_remaining = 0;
    for (std::size_t i = 0; i < headerSize; ++i)
    {
        m_remaining |= std::to_integer<std::uint64_t>(header[i]) << (8 * i);
    }
    m_inMessage = true;
    return true;
}

DWORD SocketTransport::Stage() noexcept
{
    std::memmove(m_staging.data(), m_staging.data() + m_begin, Staged());
    m_end -= std::exchange(m_begin, 0);
    std::size_t got = 0;
    const DWORD code = Receive(m_staging.data() + m_end, stagingSize - m_end, got);
    m_end += got;
    return code;
}

DWORD SocketTransport::Receive(std::byte* to, std::size_t size, std::size_t& got) noexcept
{
    for (;;)
    {
        const ssize_t count = recv(m_socket, to, size, MSG_DONTWAIT);
        if (count > 0)
        {
            got = static_cast<std::size_t>(count);
            return ERROR_SUCCESS;
        }
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count < 0 && errno == EAGAIN)
        {
            return ERROR_IO_PENDING;
        }
        // The mark is set before the socket is shut down, so it is looked at once more.
        return m_page->IsDisconnected() ? ERROR_PIPE_NOT_CONNECTED : ERROR_BROKEN_PIPE;
    }
}

bool SocketTransport::PutBack(std::span<const std::byte> bytes) noexcept
try
{
    m_returned.insert(m_returned.begin(), bytes.begin(), bytes.end());
    m_remaining += bytes.size();
    m_inMessage = m_inMessage || !bytes.empty();
    return true;
}
catch (const std::bad_alloc&)
{
    return false;
}

DWORD SocketTransport::Send(Outgoing& write) noexcept
{
    const auto header = MakeHeader(write.size);
    // Bounded, so that a fast reader of a huge message doesn't keep the thread, and the lock, for long.
    for (int turn = 0; turn < mostSendsAtOnce; ++turn)
    {
        if (m_page->IsDisconnected())
        {
            return ERROR_PIPE_NOT_CONNECTED;
        }
        const std::size_t fromHeader = std::min(write.sent, headerSize);
        const std::size_t fromBody = write.sent - fromHeader;
        std::array<iovec, 2> parts{{{const_cast<std::byte*>(header.data()) + fromHeader, headerSize - fromHeader},
                                    {const_cast<std::byte*>(write.body) + fromBody, write.size - fromBody}}};
        msghdr message{};
        message.msg_iov = parts.data();
        message.msg_iovlen = parts.size();
        const ssize_t count = sendmsg(m_socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0)
        {
            write.sent += static_cast<std::size_t>(count);
            if (write.sent == headerSize + write.size)
            {
                return ERROR_SUCCESS;
            }
        }
        else if (errno == EAGAIN)
        {
            return ERROR_IO_PENDING;
        }
        else if (errno != EINTR)
        {
            return m_page->IsDisconnected() ? ERROR_PIPE_NOT_CONNECTED : ERROR_NO_DATA;
        }
    }
    return ERROR_IO_PENDING;
}

bool SocketTransport::IsPeerGone() const noexcept
{
    pollfd state{m_socket, POLLRDHUP, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

void SocketTransport::Disconnect() noexcept
{
    m_page->SetDisconnected();
    Close();
}

void SocketTransport::Close() noexcept
{
    shutdown(m_socket, SHUT_RDWR);
}

} // namespace Quoll::Platform
