// Names that come and go: folders made, folders and files removed.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileAttributes.h"
#include "platform/linux/FileName.h"
#include "platform/linux/FileSharing.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Quoll::Platform;

namespace
{

/// Whoever may change the folder around it could put a link in its place.
bool OpenToEverybody(const char* folder) noexcept
{
    const Descriptor made(open(folder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return made && fchmod(made.Get(), S_IRWXU | S_IRWXG | S_IRWXO) == 0;
}

} // namespace

BOOL CreateDirectoryW(LPCWSTR name, LPSECURITY_ATTRIBUTES attributes) noexcept
{
    FileName folder;
    if (!folder.Parse(name))
    {
        return FALSE;
    }
    if (mkdir(folder.Native(), S_IRWXU | S_IRWXG | S_IRWXO) != 0)
    {
        return folder.Fails(FileOperation::MakeFolder);
    }
    const void* const security = attributes == nullptr ? nullptr : attributes->lpSecurityDescriptor;
    const bool forEverybody =
        security != nullptr && (static_cast<const SECURITY_DESCRIPTOR*>(security)->Control & SE_DACL_PRESENT) != 0;
    return !forEverybody || OpenToEverybody(folder.Native()) ? TRUE : FailWithErrno();
}

BOOL RemoveDirectoryW(LPCWSTR name) noexcept
{
    FileName folder;
    struct statx facts;
    if (!folder.Parse(name))
    {
        return FALSE;
    }
    if (!ReadNameFacts(folder.Native(), facts))
    {
        return folder.Fails(FileOperation::RemoveFolder);
    }
    if (!IsFolder(facts))
    {
        return Fail(ERROR_DIRECTORY);
    }
    if ((ReadAttributes(folder.Native(), facts) & FILE_ATTRIBUTE_READONLY) != 0)
    {
        return Fail(ERROR_ACCESS_DENIED);
    }
    Descriptor guard;
    if (!GuardDeletion(folder.Native(), guard))
    {
        return FALSE;
    }
    return rmdir(folder.Native()) == 0 ? TRUE : folder.Fails(FileOperation::RemoveFolder);
}

BOOL DeleteFileW(LPCWSTR name) noexcept
{
    FileName file;
    struct statx facts;
    if (!file.Parse(name))
    {
        return FALSE;
    }
    if (!ReadNameFacts(file.Native(), facts))
    {
        return file.Fails(FileOperation::Delete);
    }
    if (IsReadOnly(facts) || IsFolder(facts))
    {
        return Fail(ERROR_ACCESS_DENIED);
    }
    Descriptor guard;
    if (S_ISREG(facts.stx_mode) && !GuardDeletion(file.Native(), guard))
    {
        return FALSE;
    }
    return unlink(file.Native()) == 0 ? TRUE : file.Fails(FileOperation::Delete);
}
