// The times of open files.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileFacts.h"
#include "platform/linux/FileObject.h"
#include "platform/linux/HandleTable.h"

#include <array>

#include <fcntl.h>

using namespace Quoll::Platform;

namespace
{

bool IsGiven(const FILETIME* time) noexcept
{
    return time != nullptr && (time->dwLowDateTime != 0 || time->dwHighDateTime != 0);
}

bool ToHost(const FILETIME* time, timespec& moment) noexcept
{
    moment.tv_nsec = UTIME_OMIT;
    return !IsGiven(time) || FromFileTime(*time, moment);
}

} // namespace

BOOL GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite) noexcept
{
    const Pinned<FileObject> object(file);
    struct statx facts;
    if (!object || !object->Grants(FILE_READ_ATTRIBUTES))
    {
        return FALSE;
    }
    if (!ReadFacts(object->File(), facts))
    {
        return FailWithErrno();
    }
    if (creation != nullptr)
    {
        *creation = CreationTime(facts);
    }
    if (lastAccess != nullptr)
    {
        *lastAccess = ToFileTime(facts.stx_atime);
    }
    if (lastWrite != nullptr)
    {
        *lastWrite = ToFileTime(facts.stx_mtime);
    }
    return TRUE;
}

BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess, const FILETIME* lastWrite) noexcept
{
    const Pinned<FileObject> object(file);
    std::array<timespec, 2> moments{};
    if (!object || !object->Grants(FILE_WRITE_ATTRIBUTES))
    {
        return FALSE;
    }
    if (IsGiven(creation))
    {
        return Fail(ERROR_NOT_SUPPORTED);
    }
    if (!ToHost(lastAccess, moments[0]) || !ToHost(lastWrite, moments[1]))
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    return utimensat(object->File(), "", moments.data(), AT_EMPTY_PATH) == 0 ? TRUE : FailWithErrno();
}
