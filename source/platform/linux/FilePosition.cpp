// Sizes and positions of open files.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/FileObject.h"
#include "platform/linux/FileSizeLimit.h"
#include "platform/linux/HandleTable.h"

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

bool SizeOf(const FileObject& file, LONGLONG& size) noexcept
{
    struct stat facts{};
    if (fstat(file.File(), &facts) != 0)
    {
        return FailWithErrno() != FALSE;
    }
    size = S_ISREG(facts.st_mode) ? facts.st_size : 0;
    return true;
}

/// Where a move leads to. The file isn't touched.
bool Target(const FileObject& file, LONGLONG distance, DWORD method, LONGLONG& target) noexcept
{
    LONGLONG base = 0;
    if (method > FILE_END)
    {
        return Fail(ERROR_INVALID_PARAMETER) != FALSE;
    }
    if (method == FILE_CURRENT)
    {
        base = lseek(file.File(), 0, SEEK_CUR);
    }
    else if (method == FILE_END && !SizeOf(file, base))
    {
        return false;
    }
    if (base < 0)
    {
        return Fail(ERROR_INVALID_FUNCTION) != FALSE; // a handle to nothing but a name
    }
    if (__builtin_add_overflow(base, distance, &target))
    {
        return Fail(ERROR_INVALID_PARAMETER) != FALSE;
    }
    return target >= 0 || Fail(ERROR_NEGATIVE_SEEK) != FALSE;
}

bool MoveTo(const FileObject& file, LONGLONG target) noexcept
{
    // A host's file may not be allowed to become as long as the number.
    return lseek(file.File(), target, SEEK_SET) == target || Fail(ERROR_INVALID_PARAMETER) != FALSE;
}

} // namespace

} // namespace Quoll::Platform

using namespace Quoll::Platform;

BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) noexcept
{
    const Pinned<FileObject> object(file);
    if (!object)
    {
        return FALSE;
    }
    return size == nullptr ? Fail(ERROR_INVALID_PARAMETER) : SizeOf(*object, size->QuadPart);
}

DWORD GetFileSize(HANDLE file, LPDWORD high) noexcept
{
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file, &size) == FALSE)
    {
        return INVALID_FILE_SIZE;
    }
    if (high != nullptr)
    {
        *high = static_cast<DWORD>(size.QuadPart >> 32);
    }
    if (static_cast<DWORD>(size.QuadPart) == INVALID_FILE_SIZE)
    {
        SetLastError(ERROR_SUCCESS); // the value alone doesn't tell
    }
    return static_cast<DWORD>(size.QuadPart);
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) noexcept
{
    const Pinned<FileObject> object(file);
    LONGLONG target = 0;
    if (!object || !Target(*object, distance.QuadPart, method, target) || !MoveTo(*object, target))
    {
        return FALSE;
    }
    if (position != nullptr)
    {
        position->QuadPart = target;
    }
    return TRUE;
}

DWORD SetFilePointer(HANDLE file, LONG distance, PLONG high, DWORD method) noexcept
{
    const Pinned<FileObject> object(file);
    const LONGLONG whole =
        high == nullptr
            ? distance
            : static_cast<LONGLONG>((std::uint64_t{static_cast<DWORD>(*high)} << 32) | static_cast<DWORD>(distance));
    LONGLONG target = 0;
    if (!object || !Target(*object, whole, method, target))
    {
        return INVALID_SET_FILE_POINTER;
    }
    if (high == nullptr && target > UINT32_MAX)
    {
        Fail(ERROR_INVALID_PARAMETER);
        return INVALID_SET_FILE_POINTER;
    }
    if (!MoveTo(*object, target))
    {
        return INVALID_SET_FILE_POINTER;
    }
    if (high != nullptr)
    {
        *high = static_cast<LONG>(target >> 32);
    }
    if (static_cast<DWORD>(target) == INVALID_SET_FILE_POINTER)
    {
        SetLastError(ERROR_SUCCESS);
    }
    return static_cast<DWORD>(target);
}

BOOL SetEndOfFile(HANDLE file) noexcept
{
    const Pinned<FileObject> object(file);
    if (!object || !object->Grants(FILE_WRITE_DATA))
    {
        return FALSE;
    }
    const FileSizeSignalGuard guard(HasFileSizeLimit());
    const off_t position = lseek(object->File(), 0, SEEK_CUR);
    int result = 0;
    do
    {
        result = ftruncate(object->File(), position);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? TRUE : Fail(FromErrno(errno, FileOperation::Transfer));
}
