#include "platform/linux/IoThread.h"

#include "platform/linux/Deadline.h"
#include "platform/linux/DetachedThread.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Fork.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr IoThread::Id kickId = 0;

} // namespace

IoThread* IoThread::Running() noexcept
{
    static std::mutex startLock;
    static IoThread* running = nullptr; // outlives static destruction
    const std::lock_guard guard(startLock);
    if (running == nullptr)
    {
        auto* const thread = new (std::nothrow) IoThread;
        if (thread == nullptr)
        {
            Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        else if (thread->Start())
        {
            running = thread;
        }
        else
        {
            delete thread;
        }
    }
    return running;
}

bool IoThread::Start() noexcept
{
    m_poll = epoll_create1(EPOLL_CLOEXEC);
    m_kick = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = kickId;
    int failure = 0;
    if (m_poll < 0 || m_kick < 0 || epoll_ctl(m_poll, EPOLL_CTL_ADD, m_kick, &event) != 0)
    {
        failure = errno;
    }
    else
    {
        failure =
            StartDetachedThread("quoll-io", [](void* self) -> void* { static_cast<IoThread*>(self)->Run(); }, this);
        if (failure == 0)
        {
            NoteOwned(m_poll);
            NoteOwned(m_kick);
            return true;
        }
    }
    close(m_poll);
    close(m_kick);
    Fail(FromErrno(failure));
    return false;
}

void IoThread::Run() noexcept
{
    std::array<epoll_event, 64> events{};
    for (;;)
    {
        const int count = epoll_wait(m_poll, events.data(), static_cast<int>(events.size()), TimeToNext());
        for (int i = 0; i < count; ++i)
        {
            const Id id = events[static_cast<std::size_t>(i)].data.u64;
            if (id == kickId)
            {
                std::uint64_t kicks = 0;
                [[maybe_unused]] const ssize_t got = read(m_kick, &kicks, sizeof kicks);
            }
            else if (const auto source = Find(id))
            {
                source->Ready();
            }
        }
        RunTimers();
    }
}

int IoThread::TimeToNext() noexcept
{
    const std::lock_guard guard(m_lock);
    if (m_timers.empty())
    {
        return -1;
    }
    const std::int64_t left = m_timers.begin()->first - Deadline::Now();
    return left <= 0 ? 0 : static_cast<int>(std::min<std::int64_t>(left / 1'000'000 + 1, 60'000));
}

void IoThread::RunTimers() noexcept
{
    const std::int64_t now = Deadline::Now();
    for (;;)
    {
        Ref<IoSource> due;
        {
            const std::lock_guard guard(m_lock);
            const auto first = m_timers.begin();
            if (first == m_timers.end() || first->first > now)
            {
                return;
            }
            if (const auto entry = m_entries.find(first->second); entry != m_entries.end())
            {
                due = entry->second.source;
            }
            m_timers.erase(first);
        }
        if (due)
        {
            due->TimedOut();
        }
    }
}

Ref<IoSource> IoThread::Find(Id id) noexcept
{
    const std::lock_guard guard(m_lock);
    const auto entry = m_entries.find(id);
    return entry != m_entries.end() ? entry->second.source : Ref<IoSource>();
}

IoThread::Id IoThread::Add(Ref<IoSource> source, int descriptor, Watch watch) noexcept
try
{
    const std::lock_guard guard(m_lock);
    const Id id = ++m_lastId;
    m_entries.emplace(id, Entry{std::move(source), descriptor});
    epoll_event event{};
    event.events = watch == Watch::Input ? EPOLLIN : EPOLLONESHOT;
    event.data.u64 = id;
    if (epoll_ctl(m_poll, EPOLL_CTL_ADD, descriptor, &event) != 0)
    {
        FailWithErrno();
        m_entries.erase(id);
        return 0;
    }
    return id;
}
catch (const std::bad_alloc&)
{
    Fail(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}

void IoThread::Modify(Id id, std::uint32_t events) noexcept
{
    const std::lock_guard guard(m_lock);
    if (const auto entry = m_entries.find(id); entry != m_entries.end())
    {
        epoll_event event{};
        event.events = events;
        event.data.u64 = id;
        epoll_ctl(m_poll, EPOLL_CTL_MOD, entry->second.descriptor, &event);
    }
}

void IoThread::Arm(Id id, bool input, bool output) noexcept
{
    Modify(id, EPOLLONESHOT | (input ? EPOLLIN : 0U) | (output ? EPOLLOUT : 0U));
}

void IoThread::Pause(Id id, bool paused) noexcept
{
    Modify(id, paused ? 0 : static_cast<std::uint32_t>(EPOLLIN));
}

void IoThread::SetTimer(Id id, DWORD milliseconds) noexcept
{
    {
        const std::lock_guard guard(m_lock);
        m_timers.emplace(Deadline::Now() + std::int64_t{milliseconds} * 1'000'000, id);
    }
    Kick();
}

void IoThread::Kick() const noexcept
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t put = write(m_kick, &one, sizeof one);
}

void IoThread::Remove(Id id) noexcept
{
    Ref<IoSource> last; // released outside the lock
    const std::lock_guard guard(m_lock);
    if (const auto entry = m_entries.find(id); entry != m_entries.end())
    {
        epoll_ctl(m_poll, EPOLL_CTL_DEL, entry->second.descriptor, nullptr);
        last = std::move(entry->second.source);
        m_entries.erase(entry);
    }
}

} // namespace Quoll::Platform
