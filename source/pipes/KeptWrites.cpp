#include "pipes/KeptWrites.h"

#include <windows.h>

#include <mutex>

namespace Quoll::Utilities
{

namespace
{

// Never destroyed: the platform may write into what it holds until the process ends.
struct AbandonedWrites
{
    std::mutex lock;
    std::list<PipeWrite> writes;

    static AbandonedWrites& Instance()
    {
        static AbandonedWrites& instance = *new AbandonedWrites;
        return instance;
    }
};

bool HasFinished(const PipeWrite& write) noexcept
{
    return ::WaitForSingleObject(write.event.get(), 0) == WAIT_OBJECT_0;
}

} // namespace

KeptWrites::~KeptWrites()
{
    Abandon();
}

void KeptWrites::Keep(PipeWriteNode write) noexcept
{
    m_writes.splice(m_writes.end(), write);
}

void KeptWrites::DropFinished() noexcept
{
    // A pipe's writes end in their order.
    while (!m_writes.empty() && HasFinished(m_writes.front()))
    {
        m_writes.pop_front();
    }
}

void KeptWrites::Abandon() noexcept
{
    DropFinished();
    if (!m_writes.empty())
    {
        auto& abandoned = AbandonedWrites::Instance();
        const std::lock_guard lock(abandoned.lock);
        abandoned.writes.remove_if(HasFinished);
        abandoned.writes.splice(abandoned.writes.end(), m_writes);
    }
}

} // namespace Quoll::Utilities
