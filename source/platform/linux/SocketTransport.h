// Messages over a Unix stream socket.
//
// A message is its length, four bytes little-endian, and its bytes. So messages have any length,
// the empty one included, and no memory is spent on a length that a peer announces: a reader
// keeps what its own buffer holds and a fixed staging area.
//
// What a writer may have in flight is bounded by the socket's buffer, not by the count of unread
// bytes: each small message costs the kernel about 768 bytes. With a size of 4096, eleven messages
// of 64 bytes stay unread before the next one is pending; with 65536, about 170. Large messages
// get about twice the size.
#pragma once

#include "platform/linux/ControlPage.h"
#include "platform/linux/PipeTransport.h"

#include <array>
#include <memory>
#include <vector>

namespace Quoll::Platform
{

class SocketTransport final : public PipeTransport
{
public:
    /// Takes over the socket.
    SocketTransport(int socket, std::unique_ptr<ControlPage> page) noexcept;

    /// The socket stays its former owner's after all.
    void GiveSocketBack() noexcept
    {
        m_socket = -1;
    }
    /// What this end may have in flight. 0 leaves the system's default.
    void SetSendBuffer(std::uint32_t bytes) noexcept;

    int Descriptor() const noexcept override;
    DWORD Take(Incoming& read) noexcept override;
    bool PutBack(std::span<const std::byte> bytes) noexcept override;
    DWORD Send(Outgoing& write) noexcept override;
    bool IsPeerGone() const noexcept override;
    void Disconnect() noexcept override;
    void Close() noexcept override;

protected:
    ~SocketTransport() override;

private:
    static constexpr std::size_t stagingSize = 4096;

    std::size_t Staged() const noexcept
    {
        return m_end - m_begin;
    }
    DWORD TakeBody(Incoming& read) noexcept;
    std::size_t TakeStaged(std::byte* to, std::size_t size) noexcept;
    bool ParseHeader() noexcept;
    DWORD Stage() noexcept;
    DWORD Receive(std::byte* to, std::size_t size, std::size_t& got) noexcept;

    int m_socket;
    const std::unique_ptr<ControlPage> m_page;
    bool m_inMessage = false;
    std::uint64_t m_remaining = 0;     // of the message that is being read
    std::vector<std::byte> m_returned; // by a cancelled read; comes before what is staged
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::array<std::byte, stagingSize> m_staging;
};

} // namespace Quoll::Platform
