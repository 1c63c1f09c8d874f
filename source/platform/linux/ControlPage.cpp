#include "platform/linux/ControlPage.h"

#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr std::size_t pageSize = 4096;
constexpr int sizeSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

ControlWords* MapWords(int descriptor, int protection) noexcept
{
    void* const memory = mmap(nullptr, pageSize, protection, MAP_SHARED, descriptor, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<ControlWords*>(memory);
}

} // namespace

ControlPage::~ControlPage()
{
    if (m_words != nullptr)
    {
        munmap(m_words, pageSize);
    }
}

bool ControlPage::Create(std::uint32_t clientSendBuffer, int& descriptor) noexcept
{
    descriptor = memfd_create("quoll-pipe", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (descriptor >= 0 && ftruncate(descriptor, pageSize) == 0)
    {
        m_words = MapWords(descriptor, PROT_READ | PROT_WRITE);
    }
    // Sealed once our own mapping stands: no other writable one can be made from now on.
    if (m_words == nullptr || fcntl(descriptor, F_ADD_SEALS, sizeSeals | F_SEAL_FUTURE_WRITE) != 0)
    {
        close(descriptor);
        return false;
    }
    new (m_words) ControlWords{clientSendBuffer, 0};
    return true;
}

bool ControlPage::Map(int descriptor) noexcept
{
    struct stat state{};
    const int seals = fcntl(descriptor, F_GET_SEALS);
    if (seals < 0 || (seals & sizeSeals) != sizeSeals || fstat(descriptor, &state) != 0 ||
        state.st_size != static_cast<off_t>(pageSize))
    {
        return false;
    }
    m_words = MapWords(descriptor, PROT_READ);
    return m_words != nullptr;
}

} // namespace Quoll::Platform
