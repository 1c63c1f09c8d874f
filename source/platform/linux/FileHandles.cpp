// The calls that take files and pipes alike.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/FileObject.h"
#include "platform/linux/FileOpen.h"
#include "platform/linux/HandleTable.h"
#include "platform/linux/PipeClient.h"
#include "platform/linux/PipeEnd.h"
#include "platform/linux/PipeProtocol.h"

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

using namespace Quoll::Platform;

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                   DWORD flags, HANDLE pattern) noexcept
{
    if (!HandleTable::IsValid())
    {
        Fail(ERROR_INVALID_HANDLE);
        return INVALID_HANDLE_VALUE;
    }
    if (name != nullptr && PipeAddress::HasPipePrefix(name))
    {
        return OpenPipeByName(name, disposition, flags);
    }
    if (pattern != nullptr && disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING)
    {
        Fail(ERROR_NOT_SUPPORTED);
        return INVALID_HANDLE_VALUE;
    }
    return OpenFileByName(name, access, shareMode, attributes, disposition, flags);
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED overlapped) noexcept
{
    const Pinned<Object> object(file);
    auto* const into = static_cast<std::byte*>(buffer);
    const bool isPipe = object && object->Kind() == ObjectKind::Pipe;
    if (!object || (!isPipe && object->Kind() != ObjectKind::File))
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if ((buffer == nullptr && size != 0) || (isPipe && overlapped == nullptr))
    {
        return Fail(isPipe ? ERROR_INVALID_PARAMETER : ERROR_NOACCESS);
    }
    return isPipe ? static_cast<PipeEnd&>(*object).Read(into, size, read, *overlapped)
                  : static_cast<FileObject&>(*object).Read(into, size, read, overlapped);
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) noexcept
{
    const Pinned<Object> object(file);
    const auto* const from = static_cast<const std::byte*>(buffer);
    const bool isPipe = object && object->Kind() == ObjectKind::Pipe;
    if (!object || (!isPipe && object->Kind() != ObjectKind::File))
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if ((buffer == nullptr && size != 0) || (isPipe && overlapped == nullptr))
    {
        return Fail(isPipe ? ERROR_INVALID_PARAMETER : ERROR_NOACCESS);
    }
    return isPipe ? static_cast<PipeEnd&>(*object).Write(from, size, written, *overlapped)
                  : static_cast<FileObject&>(*object).Write(from, size, written, overlapped);
}

BOOL CancelIo(HANDLE file) noexcept
{
    const Pinned<Object> object(file);
    if (object && object->Kind() == ObjectKind::Pipe)
    {
        static_cast<PipeEnd&>(*object).Cancel(nullptr, GetCurrentThreadId()); // nothing to cancel is no failure here
        return TRUE;
    }
    return object && object->Kind() == ObjectKind::File ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

BOOL CancelIoEx(HANDLE file, LPOVERLAPPED overlapped) noexcept
{
    const Pinned<Object> object(file);
    if (object && object->Kind() == ObjectKind::Pipe)
    {
        return static_cast<PipeEnd&>(*object).Cancel(overlapped, 0);
    }
    return Fail(object && object->Kind() == ObjectKind::File ? ERROR_NOT_FOUND : ERROR_INVALID_HANDLE);
}

BOOL FlushFileBuffers(HANDLE file) noexcept
{
    const Pinned<Object> object(file);
    if (!object || object->Kind() != ObjectKind::File)
    {
        return Fail(object && object->Kind() == ObjectKind::Pipe ? ERROR_NOT_SUPPORTED : ERROR_INVALID_HANDLE);
    }
    const auto& open = static_cast<FileObject&>(*object);
    if (!open.Grants(FILE_WRITE_DATA | FILE_APPEND_DATA))
    {
        return FALSE;
    }
    // What can't be flushed has no buffers.
    return fsync(open.File()) == 0 || errno == EINVAL || errno == EROFS
               ? TRUE
               : Fail(FromErrno(errno, FileOperation::Transfer));
}

DWORD GetFileType(HANDLE file) noexcept
{
    const Pinned<Object> object(file);
    if (object && object->Kind() == ObjectKind::Pipe)
    {
        return FILE_TYPE_PIPE;
    }
    struct stat facts{};
    if (!object || object->Kind() != ObjectKind::File || fstat(static_cast<FileObject&>(*object).File(), &facts) != 0)
    {
        Fail(ERROR_INVALID_HANDLE);
        return FILE_TYPE_UNKNOWN;
    }
    return S_ISCHR(facts.st_mode) ? FILE_TYPE_CHAR : FILE_TYPE_DISK;
}
