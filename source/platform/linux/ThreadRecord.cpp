#include "platform/linux/ThreadRecord.h"

#include "platform/linux/Fork.h"
#include "platform/linux/Mutex.h"
#include "platform/linux/PipeEnd.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include <linux/futex.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constinit thread_local ThreadRecord* current = nullptr;

void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected, const Deadline& deadline) noexcept
{
    const timespec moment = deadline.Moment();
    syscall(SYS_futex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, expected, deadline.IsNever() ? nullptr : &moment,
            nullptr, FUTEX_BITSET_MATCH_ANY);
}

void FutexWake(std::atomic<std::uint32_t>& word) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, 1);
}

} // namespace

struct ThreadRecordPool
{
    std::mutex lock;
    ThreadRecord* free = nullptr;
    pthread_key_t key{};

    // The record returns to the pool by a key's destructor, which runs after all C++ thread_local
    // destructors; should one of another key call us later still, it gets a record anew.
    ThreadRecordPool() noexcept
    {
        if (pthread_key_create(&key, [](void* record) { Instance().Return(static_cast<ThreadRecord*>(record)); }) != 0)
        {
            std::abort();
        }
    }

    static ThreadRecordPool& Instance() noexcept
    {
        static auto& pool = *new ThreadRecordPool; // outlives static destruction
        return pool;
    }

    ThreadRecord& Take() noexcept
    {
        ThreadRecord* record = nullptr;
        {
            const std::lock_guard guard(lock);
            record = free;
            if (record != nullptr)
            {
                free = std::exchange(record->m_nextFree, nullptr);
            }
        }
        if (record == nullptr)
        {
            record = new ThreadRecord;
        }
        current = record;
        pthread_setspecific(key, record);
        return *record;
    }

    void Return(ThreadRecord* record) noexcept
    {
        Mutex::AbandonAll(*record);
        if (record->pendingOperations.load(std::memory_order_relaxed) != 0)
        {
            PipeEnd::CancelAllOfThread(GetCurrentThreadId());
        }
        current = nullptr;
        const std::lock_guard guard(lock);
        record->m_nextFree = std::exchange(free, record);
    }
};

ThreadRecord& ThreadRecord::Current() noexcept
{
    return current != nullptr ? *current : ThreadRecordPool::Instance().Take();
}

void Parker::Park(const Deadline& deadline) noexcept
{
    std::uint32_t expected = Idle;
    if (m_state.compare_exchange_strong(expected, OnFutex, std::memory_order_acq_rel))
    {
        FutexWait(m_state, OnFutex, deadline);
    }
    m_state.exchange(Idle, std::memory_order_acq_rel);
}

bool Parker::ParkOrPoll(std::span<pollfd> descriptors, const Deadline& deadline) noexcept
{
    if (m_wakeup < 0)
    {
        m_wakeup = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (m_wakeup < 0)
        {
            return false;
        }
        NoteOwned(m_wakeup);
    }
    descriptors.back() = {m_wakeup, POLLIN, 0};
    std::uint32_t expected = Idle;
    if (!m_state.compare_exchange_strong(expected, OnDescriptors, std::memory_order_acq_rel))
    {
        m_state.store(Idle, std::memory_order_release);
        return true;
    }
    const timespec left = deadline.Remaining();
    if (ppoll(descriptors.data(), descriptors.size(), deadline.IsNever() ? nullptr : &left, nullptr) < 0)
    {
        for (pollfd& descriptor : descriptors)
        {
            descriptor.revents = 0; // interrupted by a signal: nothing is known of any of them
        }
    }
    m_state.exchange(Idle, std::memory_order_acq_rel);
    if (descriptors.back().revents != 0)
    {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = read(m_wakeup, &count, sizeof count);
    }
    return true;
}

void Parker::Unpark() noexcept
{
    const std::uint32_t was = m_state.exchange(Notified, std::memory_order_acq_rel);
    if (was == OnFutex)
    {
        FutexWake(m_state);
    }
    else if (was == OnDescriptors)
    {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t put = write(m_wakeup, &one, sizeof one);
    }
}

} // namespace Quoll::Platform
