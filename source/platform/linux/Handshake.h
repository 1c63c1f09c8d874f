// One client on its way to an instance.
#pragma once

#include "platform/linux/IoThread.h"
#include "platform/linux/PipeProtocol.h"

namespace Quoll::Platform
{

class PipeName;

class Handshake final : public IoSource
{
public:
    /// Takes over the socket.
    Handshake(int socket, PipeName& name) noexcept;

    int Socket() const noexcept
    {
        return m_socket;
    }

    // On the I/O thread:
    /// ERROR_SUCCESS, ERROR_IO_PENDING, or ERROR_INVALID_DATA for garbage and for one that left.
    DWORD ReadHello(HelloKind& kind) noexcept;
    void Ready() noexcept override;
    void TimedOut() noexcept override;
    /// The socket belongs to a connection now.
    void GiveSocketAway() noexcept;

    // With the name's lock held:
    bool StartWatching(DWORD limit) noexcept;
    void StopWatching() noexcept;
    void Park() noexcept; // its hello has come; it waits for an instance now
    void End() noexcept;  // without a word
    void End(DWORD code) noexcept;
    bool HasEnded() const noexcept
    {
        return m_ended;
    }

protected:
    ~Handshake() override;

private:
    int m_socket;
    Ref<PipeName> m_name;
    Hello m_hello{};
    std::size_t m_got = 0;
    bool m_parked = false; // changed and read on the I/O thread alone
    bool m_ended = false;
    IoThread::Id m_watch = 0;
};

} // namespace Quoll::Platform
