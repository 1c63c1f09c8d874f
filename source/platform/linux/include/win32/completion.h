// I/O completion ports.
//
// A port is a queue of packets: one for each operation that ended on a file or pipe that was associated with it,
// and those that are posted. Packets leave in the order of their arrival; of the threads that wait, the one
// that began last gets the next, which keeps few threads at work. How many of them run at a time isn't limited.
#pragma once

#include "handles.h"

extern "C"
{
    /// Makes a port, if `port` is null, and associates the file with it, unless that is INVALID_HANDLE_VALUE. The
    /// file must be open for overlapped use and not be associated yet, and one of the two handles be given:
    /// ERROR_INVALID_PARAMETER. Each operation that is started on it from then on, and doesn't fail at once,
    /// brings a packet, unless the lowest bit of its event's handle is set; and it doesn't end with the thread
    /// that started it. `threads` is not used.
    HANDLE CreateIoCompletionPort(HANDLE file, HANDLE port, ULONG_PTR key, DWORD threads) noexcept;

    BOOL PostQueuedCompletionStatus(HANDLE port, DWORD bytes, ULONG_PTR key, OVERLAPPED* overlapped) noexcept;

    /// Takes the first packet. The one of an operation that failed gives FALSE with the operation's error.
    /// Otherwise FALSE comes with a null record: WAIT_TIMEOUT, or ERROR_ABANDONED_WAIT_0 if the port is closed
    /// meanwhile.
    BOOL GetQueuedCompletionStatus(HANDLE port, DWORD* bytes, ULONG_PTR* key, OVERLAPPED** overlapped,
                                   DWORD milliseconds) noexcept;
}
