// One page that the server of a connection writes and its client can only read.
//
// An end of file can't tell a server that closed (109, after the data) from one that disconnected
// (233, and the data is dropped), and a mark in the stream would queue behind unread data. So the
// server sets a word in this page before it shuts the socket down. The page is a sealed memory
// file: the client can neither change nor shrink it, and the server never reads it back.
#pragma once

#include "platform/linux/Object.h"

#include <windows.h>

#include <atomic>

namespace Quoll::Platform
{

struct ControlWords
{
    std::uint32_t clientSendBuffer; // what the client may have in flight, in bytes
    std::atomic<std::uint32_t> disconnected;
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

class ControlPage
{
public:
    ControlPage() noexcept = default;
    ControlPage(const ControlPage&) = delete;
    ControlPage& operator=(const ControlPage&) = delete;
    ~ControlPage();

    /// Makes the page; `descriptor` is to be sent and closed.
    bool Create(std::uint32_t clientSendBuffer, int& descriptor) noexcept;
    /// Maps a page that a server sent; refuses what a server could change the size of.
    bool Map(int descriptor) noexcept;

    bool IsDisconnected() const noexcept
    {
        return m_words->disconnected.load(std::memory_order_acquire) != 0;
    }
    void SetDisconnected() noexcept
    {
        m_words->disconnected.store(1, std::memory_order_release);
    }
    std::uint32_t ClientSendBuffer() const noexcept
    {
        return m_words->clientSendBuffer;
    }

private:
    ControlWords* m_words = nullptr;
};

} // namespace Quoll::Platform
