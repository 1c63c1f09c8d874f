#include "support/linux/ForcedTransfers.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <sys/types.h>

namespace Quoll::Tests
{

namespace
{
constinit thread_local ForcedTransfers* t_current = nullptr;
}

ForcedTransfers::ForcedTransfers(std::vector<int> steps)
    : m_steps(std::move(steps))
{
    t_current = this;
}

ForcedTransfers::~ForcedTransfers()
{
    t_current = nullptr;
}

std::size_t ForcedTransfers::Left() const noexcept
{
    return m_steps.size() - m_done;
}

long ForcedTransfers::Allow(std::size_t size)
{
    if (t_current != nullptr && t_current->AtTransfer)
    {
        t_current->AtTransfer();
    }
    if (t_current == nullptr || t_current->Left() == 0)
    {
        return static_cast<long>(size);
    }
    const int step = t_current->m_steps[t_current->m_done++];
    if (step < 0)
    {
        errno = -step;
        return -1;
    }
    return std::min(static_cast<long>(size), long{step});
}

} // namespace Quoll::Tests

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's --wrap gives these names

using Quoll::Tests::ForcedTransfers;

#define WRAPPED_TRANSFER(name, parameters, arguments)                                                                  \
    extern "C" ssize_t __real_##name parameters;                                                                       \
    extern "C" ssize_t __wrap_##name parameters;                                                                       \
    ssize_t __wrap_##name parameters                                                                                   \
    {                                                                                                                  \
        const long allowed = ForcedTransfers::Allow(size);                                                             \
        size = static_cast<std::size_t>(allowed);                                                                      \
        return allowed < 0 ? -1 : __real_##name arguments;                                                             \
    }

WRAPPED_TRANSFER(read, (int file, void* buffer, std::size_t size), (file, buffer, size))
WRAPPED_TRANSFER(write, (int file, const void* buffer, std::size_t size), (file, buffer, size))
WRAPPED_TRANSFER(pread, (int file, void* buffer, std::size_t size, off_t at), (file, buffer, size, at))
WRAPPED_TRANSFER(pwrite, (int file, const void* buffer, std::size_t size, off_t at), (file, buffer, size, at))
WRAPPED_TRANSFER(copy_file_range, (int from, off_t* at, int to, off_t* place, std::size_t size, unsigned flags),
                 (from, at, to, place, size, flags))

extern "C" int __real_fsync(int file);
extern "C" int __wrap_fsync(int file);
int __wrap_fsync(int file)
{
    return ForcedTransfers::Allow(0) < 0 ? -1 : __real_fsync(file);
}

// NOLINTEND(bugprone-reserved-identifier)
