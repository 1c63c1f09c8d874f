// The copy grows under a name of its own beside the target, and takes the target's name when it is complete and
// safe on the disk, in one step. Only then the source goes.
#include "platform/linux/FileTransplant.h"

#include "platform/linux/Descriptor.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/FileCopy.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/FileFacts.h"
#include "platform/linux/FileName.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <new>
#include <random>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr int namesTried = 100;

bool MayDelete(const FileName& name, const struct statx& facts)
{
    const std::string folder = name.Folder();
    struct stat place{};
    if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0 || stat(folder.c_str(), &place) != 0)
    {
        return false;
    }
    const uid_t user = geteuid();
    return (place.st_mode & S_ISVTX) == 0 || user == 0 || user == place.st_uid || user == facts.stx_uid;
}

/// A name beside the target, under which nothing is seen as the target.
class Nursery
{
public:
    explicit Nursery(const FileName& target)
        : m_folder(target.Folder() + "/")
    {
    }
    Nursery(const Nursery&) = delete;
    Nursery& operator=(const Nursery&) = delete;
    ~Nursery()
    {
        if (!m_name.empty())
        {
            unlink(m_name.c_str());
        }
    }

    /// False with errno set. `make` gives false with EEXIST for a name that is taken.
    template<class Make>
    bool Fill(Make make)
    {
        std::random_device random;
        for (int i = 0; i < namesTried; ++i)
        {
            std::array<char, 32> text{};
            std::snprintf(text.data(), text.size(), ".quoll-%08x%08x", random(), random());
            const std::string name = m_folder + text.data();
            if (make(name.c_str()))
            {
                m_name = name;
                return true;
            }
            if (errno != EEXIST)
            {
                return false;
            }
        }
        return false;
    }
    const char* Name() const noexcept
    {
        return m_name.c_str();
    }
    bool Publish(const char* target, bool replaces) noexcept
    {
        const bool done = Rename(m_name.c_str(), target, replaces);
        if (done)
        {
            m_name.clear();
        }
        return done;
    }

private:
    const std::string m_folder;
    std::string m_name;
};

bool CopyFile(const FileName& source, const FileName& target, Nursery& nursery)
{
    const Descriptor from(open(source.Native(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct statx facts;
    if (!from || !ReadFacts(from.Get(), facts))
    {
        return source.Fails(FileOperation::Open) != FALSE;
    }
    Descriptor to;
    const bool made = nursery.Fill([&](const char* name) {
        to = Descriptor(open(name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
        return static_cast<bool>(to);
    });
    if (!made)
    {
        return target.Fails(FileOperation::Create) != FALSE;
    }
    if (!CopyContents(from.Get(), to.Get()) || !CopyIdentity(facts, from.Get(), to.Get()))
    {
        return false;
    }
    // A disk may fail, or turn out full, as late as here.
    return fsync(to.Get()) == 0 || Fail(FromErrno(errno, FileOperation::Transfer)) != FALSE;
}

bool CopyLink(const FileName& source, const FileName& target, Nursery& nursery)
{
    std::array<char, PATH_MAX + 1> text{};
    struct stat facts{};
    const ssize_t length = readlink(source.Native(), text.data(), PATH_MAX);
    if (length < 0 || lstat(source.Native(), &facts) != 0)
    {
        return source.Fails(FileOperation::Open) != FALSE;
    }
    const std::array<timespec, 2> times = {facts.st_atim, facts.st_mtim};
    const bool done = nursery.Fill([&](const char* name) { return symlink(text.data(), name) == 0; }) &&
                      utimensat(AT_FDCWD, nursery.Name(), times.data(), AT_SYMLINK_NOFOLLOW) == 0;
    return done || target.Fails(FileOperation::Create) != FALSE;
}

} // namespace

bool Rename(const char* source, const char* target, bool replaces) noexcept
{
    if (replaces)
    {
        return rename(source, target) == 0;
    }
    if (renameat2(AT_FDCWD, source, AT_FDCWD, target, RENAME_NOREPLACE) == 0)
    {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS)
    {
        return false;
    }
    // A file system without that. For a file there is another way that replaces nothing.
    struct stat facts{};
    if (lstat(target, &facts) == 0)
    {
        errno = EEXIST;
        return false;
    }
    if (lstat(source, &facts) == 0 && !S_ISDIR(facts.st_mode) && link(source, target) == 0)
    {
        return unlink(source) == 0;
    }
    return errno != EEXIST && rename(source, target) == 0;
}

bool Transplant(const FileName& source, const FileName& target, bool replaces) noexcept
try
{
    struct statx facts;
    if (!ReadNameFacts(source.Native(), facts))
    {
        return source.Fails(FileOperation::Open) != FALSE;
    }
    const bool isLink = S_ISLNK(facts.stx_mode);
    if ((!isLink && !S_ISREG(facts.stx_mode)) || !MayDelete(source, facts))
    {
        return Fail(ERROR_ACCESS_DENIED) != FALSE;
    }
    Nursery nursery(target);
    if (!(isLink ? CopyLink(source, target, nursery) : CopyFile(source, target, nursery)))
    {
        return false;
    }
    if (!nursery.Publish(target.Native(), replaces))
    {
        return target.Fails(FileOperation::Move) != FALSE;
    }
    // What has got the name since then stays, and so does the file, as is documented, if it can't be deleted.
    struct statx left;
    if (ReadNameFacts(source.Native(), left) && IsSameFile(left, facts))
    {
        unlink(source.Native());
    }
    return true;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY) != FALSE;
}

} // namespace Quoll::Platform
