// What the two ends of a message pipe share: the encoding of a message and a server's pipe instance.
//
// One text is one pipe message. There is no header, no terminator and no byte order mark: the body
// is the text in the connection's encoding, and the pipe keeps the boundaries. Nothing is
// negotiated: both ends are configured alike, and with different encodings each receives garbage
// without an error. A text ends at its first NUL. An empty message has no meaning and is ignored
// by readers.
//
// Reading goes chunk by chunk and never fails on what it reads: in Utf8 each piece that isn't
// well-formed, a sequence cut by the end of a chunk included, is read as U+FFFD; in Utf16 the units
// are taken as they are. A chunk has as many units of the encoding as the reader's configured
// buffer size, so a sender of longer messages in Utf8 must count with such cuts. Text that is
// ill-formed UTF-16 can't be sent in Utf8: writing throws ConversionException.
//
// Pipe names are passed to the platform as they are given. The platform's form is "\\.\pipe\name";
// letter case doesn't matter.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/WindowsTypes.h"

#include <cstddef>
#include <cstdint>

namespace Quoll::Utilities
{

/// How a message's text stands on the pipe. Any value but Utf8 means Utf16.
enum class NamedPipeMessageEncoding : std::int32_t
{
    Utf16 = 0, ///< 16-bit code units, low byte first.
    Utf8 = 1   ///< Bytes.
};

/// A server's end of one pipe instance.
///
/// A copy shares both handles and gets a record of its own, on which no operation is pending. An
/// instance on whose record an operation is pending must not be moved from, assigned or destroyed.
class QUOLL_API NamedPipeInstance
{
public:
    /// No pipe, no event.
    NamedPipeInstance();
    /// Shares both handles.
    NamedPipeInstance(const NamedPipeInstance& other);
    /// Takes both handles.
    NamedPipeInstance(NamedPipeInstance&& other) noexcept;
    /// Shares both handles and gives up its own.
    NamedPipeInstance& operator=(const NamedPipeInstance& other);
    /// Takes both handles and gives up its own.
    NamedPipeInstance& operator=(NamedPipeInstance&& other) noexcept;
    /// Gives up both handles.
    ~NamedPipeInstance();

    /// Makes the I/O event, a local manual-reset event that isn't set, and puts it into the record.
    /// False, with the platform's last error, if there is none to be had.
    bool CreateIoEvent();

    /// The platform's record of the overlapped operation; its event member is the I/O event.
    OVERLAPPED* GetOverlapped() noexcept;

    SharedHandle pipe;    ///< The server's end of the pipe.
    SharedHandle ioEvent; ///< The event of operations on this instance.

private:
    void ResetOverlapped() noexcept;

    static constexpr std::size_t OVERLAPPED_SIZE = 5 * sizeof(void*);
    alignas(void*) unsigned char m_overlapped[OVERLAPPED_SIZE];
};

} // namespace Quoll::Utilities
