// One table for the whole layer. A call for which Windows documents another code than the general
// one here (a pipe's, a lock's) tests errno itself before it asks this table.
#include "platform/linux/ErrnoTable.h"

#include <cerrno>

namespace Quoll::Platform
{

DWORD FromErrno(int value) noexcept
{
    switch (value)
    {
    case EPERM:
    case EACCES:
    case EISDIR: // a folder that is opened as a file
        return ERROR_ACCESS_DENIED;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case ENFILE:
    case EMFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EXDEV:
        return ERROR_NOT_SAME_DEVICE;
    case EROFS:
        return ERROR_WRITE_PROTECT;
    case ENXIO:
    case ENODEV:
        return ERROR_NOT_READY;
    case ENOTTY:
        return ERROR_INVALID_FUNCTION;
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case ENOSYS:
    case EOPNOTSUPP:
        return ERROR_NOT_SUPPORTED;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    case ENOSPC:
        return ERROR_DISK_FULL;
    case ETIMEDOUT:
        return ERROR_SEM_TIMEOUT;
    case EMSGSIZE:
        return ERROR_INSUFFICIENT_BUFFER;
    case ECHILD:
        return ERROR_WAIT_NO_CHILDREN;
    case ESPIPE:
        return ERROR_SEEK_ON_DEVICE;
    case ENOTEMPTY:
        return ERROR_DIR_NOT_EMPTY;
    case EBUSY:
        return ERROR_BUSY;
    case EEXIST:
        return ERROR_ALREADY_EXISTS;
    case ENOEXEC:
        return ERROR_BAD_EXE_FORMAT;
    case E2BIG:
    case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
    case EFBIG:
        return ERROR_FILE_TOO_LARGE;
    case ECONNRESET:
        return ERROR_BROKEN_PIPE;
    case EPIPE:
        return ERROR_NO_DATA;
    case ENOTCONN:
        return ERROR_PIPE_NOT_CONNECTED;
    case ERANGE:
    case EOVERFLOW:
        return ERROR_ARITHMETIC_OVERFLOW;
    case EINTR:
    case ECANCELED:
        return ERROR_OPERATION_ABORTED;
    case EFAULT:
        return ERROR_NOACCESS;
    case EILSEQ:
        return ERROR_NO_UNICODE_TRANSLATION;
    case EIO:
        return ERROR_IO_DEVICE;
    case EDEADLK:
        return ERROR_POSSIBLE_DEADLOCK;
    case EMLINK:
        return ERROR_TOO_MANY_LINKS;
    case ENODATA:
    case ESRCH:
        return ERROR_NOT_FOUND;
    case ECONNREFUSED:
        return ERROR_CONNECTION_REFUSED;
    case EDQUOT:
        return ERROR_DISK_QUOTA_EXCEEDED;
    case EAGAIN:
    case ENOLCK:
    case ENOBUFS:
        return ERROR_NO_SYSTEM_RESOURCES;
    case ELOOP:
        return ERROR_CANT_RESOLVE_FILENAME;
    default:
        return ERROR_GEN_FAILURE;
    }
}

BOOL Fail(DWORD code) noexcept
{
    SetLastError(code);
    return FALSE;
}

BOOL FailWithErrno() noexcept
{
    return Fail(FromErrno(errno));
}

} // namespace Quoll::Platform
