// Reads and writes of open files. All are over when the call comes back, on handles for overlapped use
// as well: the host has no other way that would be of use for files.
#include "platform/linux/FileObject.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Event.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/HandleTable.h"
#include "platform/linux/Operation.h"

#include <bit>
#include <cerrno>
#include <optional>

#include <unistd.h>

namespace Quoll::Platform
{

struct FileObject::Transfer
{
    std::byte* into = nullptr; // or else
    const std::byte* from = nullptr;
    DWORD size = 0;

    bool IsRead() const noexcept
    {
        return from == nullptr;
    }
    ssize_t Step(int file, DWORD done, std::optional<off_t> start) const noexcept
    {
        const std::size_t left = size - done;
        if (start)
        {
            const off_t place = *start + off_t{done};
            return IsRead() ? pread(file, into + done, left, place) : pwrite(file, from + done, left, place);
        }
        return IsRead() ? read(file, into + done, left) : write(file, from + done, left);
    }
    /// A host call may stop early: at a signal, at two gibibytes, at the last free block.
    DWORD Run(int file, DWORD& done, std::optional<off_t> start) const noexcept
    {
        while (done < size)
        {
            const ssize_t count = Step(file, done, start);
            if (count < 0 && errno != EINTR)
            {
                return FromErrno(errno, FileOperation::Transfer);
            }
            if (count == 0)
            {
                return IsRead() ? ERROR_SUCCESS : ERROR_DISK_FULL;
            }
            done += count > 0 ? static_cast<DWORD>(count) : 0;
        }
        return ERROR_SUCCESS;
    }
};

namespace
{

constexpr std::uintptr_t atTheEnd = ~std::uintptr_t{0};

/// The event of an operation's record: reset at the start, set at the end.
bool FindEvent(const OVERLAPPED* overlapped, Pinned<Event>& event) noexcept
{
    if (overlapped == nullptr || EventOf(*overlapped) == nullptr)
    {
        return true;
    }
    event = Pinned<Event>(EventOf(*overlapped));
    if (event)
    {
        event->Reset();
    }
    return static_cast<bool>(event);
}

} // namespace

bool FileObject::Grants(DWORD anyOf) const noexcept
{
    return (m_access & anyOf) != 0 || Fail(ERROR_ACCESS_DENIED) != FALSE;
}

BOOL FileObject::Read(std::byte* buffer, DWORD size, DWORD* read, OVERLAPPED* overlapped) noexcept
{
    return Grants(FILE_READ_DATA) ? Run({.into = buffer, .from = nullptr, .size = size}, read, overlapped) : FALSE;
}

BOOL FileObject::Write(const std::byte* buffer, DWORD size, DWORD* written, OVERLAPPED* overlapped) noexcept
{
    constexpr std::byte nothing{};
    const std::byte* const from = buffer != nullptr ? buffer : &nothing;
    return Grants(FILE_WRITE_DATA | FILE_APPEND_DATA)
               ? Run({.into = nullptr, .from = from, .size = size}, written, overlapped)
               : FALSE;
}

BOOL FileObject::Run(const Transfer& transfer, DWORD* transferred, OVERLAPPED* overlapped) noexcept
{
    Pinned<Event> event;
    if ((m_overlapped || transferred == nullptr) && overlapped == nullptr)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    CompletionNotice notice;
    if (!FindEvent(overlapped, event) || !PrepareNotice(overlapped, notice))
    {
        return FALSE;
    }
    std::optional<off_t> start;
    if (overlapped != nullptr)
    {
        const auto place = std::bit_cast<std::uintptr_t>(overlapped->Pointer);
        start = place == atTheEnd && !transfer.IsRead() ? lseek(File(), 0, SEEK_END) : static_cast<off_t>(place);
        if (*start < 0)
        {
            return Fail(ERROR_INVALID_PARAMETER);
        }
    }
    const FileSizeSignalGuard guard(m_isLimited && !transfer.IsRead());
    DWORD done = 0;
    DWORD code = transfer.Run(File(), done, start);
    if (start && !m_overlapped)
    {
        lseek(File(), *start + off_t{done}, SEEK_SET);
    }
    if (start && transfer.IsRead() && done == 0 && transfer.size != 0 && code == ERROR_SUCCESS)
    {
        code = ERROR_HANDLE_EOF;
    }
    if (transferred != nullptr)
    {
        *transferred = done;
    }
    if (overlapped != nullptr)
    {
        StoreOutcome(*overlapped, code, done);
    }
    if (event)
    {
        event->Set();
    }
    if (code != ERROR_SUCCESS)
    {
        return Fail(code); // which is known already, and tells the port nothing
    }
    notice.Send(code, done);
    return TRUE;
}

bool FileObject::PrepareNotice(OVERLAPPED* overlapped, CompletionNotice& notice) noexcept
{
    if (!m_overlapped)
    {
        return true;
    }
    const std::lock_guard guard(m_portLock);
    return m_port.Prepare(*overlapped, notice);
}

BOOL FileObject::Associate(Ref<CompletionPort> port, ULONG_PTR key) noexcept
{
    if (!m_overlapped)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const std::lock_guard guard(m_portLock);
    return m_port.Set(std::move(port), key) ? TRUE : FALSE;
}

} // namespace Quoll::Platform
