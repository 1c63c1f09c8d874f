// How the two ends of a connected pipe exchange messages.
#pragma once

#include "platform/linux/Object.h"

#include <windows.h>

#include <cstddef>
#include <span>

namespace Quoll::Platform
{

/// A read under way: the caller's buffer and how much of it is filled.
struct Incoming
{
    std::byte* buffer = nullptr;
    std::size_t size = 0;
    std::size_t filled = 0;
};

/// A write under way: one message, and how much of it (with the transport's frame) is sent.
struct Outgoing
{
    const std::byte* body = nullptr;
    std::size_t size = 0;
    std::size_t sent = 0;
};

/// One end's connection. Calls come one at a time: the pipe's end holds its lock.
class PipeTransport : public Counted
{
public:
    /// Readable when Take, writable when Send may get on.
    virtual int Descriptor() const noexcept = 0;

    /// ERROR_SUCCESS: the message has ended. ERROR_MORE_DATA: the buffer is full and the message
    /// isn't. ERROR_IO_PENDING: nothing more has come yet. ERROR_BROKEN_PIPE: the peer closed;
    /// ERROR_PIPE_NOT_CONNECTED: the server disconnected.
    virtual DWORD Take(Incoming& read) noexcept = 0;
    /// Gives back what a read took that is cancelled.
    virtual bool PutBack(std::span<const std::byte> bytes) noexcept = 0;
    /// ERROR_SUCCESS, ERROR_IO_PENDING, ERROR_NO_DATA (the peer is closed) or
    /// ERROR_PIPE_NOT_CONNECTED.
    virtual DWORD Send(Outgoing& write) noexcept = 0;
    virtual bool IsPeerGone() const noexcept = 0;

    /// The server's end: both ends get ERROR_PIPE_NOT_CONNECTED from now on.
    virtual void Disconnect() noexcept = 0;
    /// What was sent stays readable for the peer. The descriptor lives as long as the object.
    virtual void Close() noexcept = 0;
};

} // namespace Quoll::Platform
