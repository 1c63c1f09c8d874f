#include "platform/linux/FileErrors.h"

#include "platform/linux/ErrnoTable.h"

#include <cerrno>

namespace Quoll::Platform
{

namespace
{

using enum FileOperation;

constexpr struct
{
    FileOperation operation;
    int value;
    DWORD code;
} ownCodes[] = {
    {Open, ENXIO, ERROR_ACCESS_DENIED}, // a socket, or a pipe without a reader
    {Open, ENODEV, ERROR_ACCESS_DENIED},
    {Open, EAGAIN, ERROR_SHARING_VIOLATION}, // another program has a lease on the file
    {Open, EOPNOTSUPP, ERROR_ACCESS_DENIED},
    {Create, EEXIST, ERROR_FILE_EXISTS},
    {Create, EINVAL, ERROR_INVALID_NAME}, // one that the file system can't hold
    {Transfer, EBADF, ERROR_ACCESS_DENIED},
    {Transfer, EISDIR, ERROR_INVALID_FUNCTION},
    {Delete, EBUSY, ERROR_SHARING_VIOLATION},
    {MakeFolder, EINVAL, ERROR_INVALID_NAME},
    {RemoveFolder, ENOTDIR, ERROR_DIRECTORY},
    {RemoveFolder, EBUSY, ERROR_SHARING_VIOLATION}, // something is mounted there
    {RemoveFolder, EINVAL, ERROR_SHARING_VIOLATION},
    {RemoveFolder, EEXIST, ERROR_DIR_NOT_EMPTY},
    {Move, EBUSY, ERROR_SHARING_VIOLATION},
    {Move, EINVAL, ERROR_SHARING_VIOLATION}, // into itself
};

} // namespace

DWORD FromErrno(int value, FileOperation operation) noexcept
{
    for (const auto& own : ownCodes)
    {
        if (own.operation == operation && own.value == value)
        {
            return own.code;
        }
    }
    return FromErrno(value);
}

} // namespace Quoll::Platform
