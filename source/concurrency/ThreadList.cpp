#include "concurrency/ThreadList.h"

#include <system_error>
#include <utility>

namespace Quoll::Utilities
{

void ThreadList::Add(const std::function<void()>& body)
{
    const std::lock_guard guard(m_lock);
    m_entries.push_back(std::make_shared<Entry>());
    try
    {
        Entry& entry = *m_entries.back();
        entry.thread = std::thread(body);
        entry.id = entry.thread.get_id();
    }
    catch (...)
    {
        m_entries.pop_back();
        throw;
    }
}

std::size_t ThreadList::Size() const
{
    const std::lock_guard guard(m_lock);
    return m_entries.size();
}

void ThreadList::JoinAndClear()
{
    std::unique_lock lock(m_lock);
    for (std::size_t i = 0; i < m_entries.size(); ++i)
    {
        const std::shared_ptr<Entry> entry = m_entries[i];
        Join(lock, *entry);
    }
    std::erase_if(m_entries, [](const auto& entry) { return entry->ended; });
}

void ThreadList::Join(std::unique_lock<std::mutex>& lock, Entry& entry)
{
    while (!entry.ended)
    {
        if (entry.id == std::this_thread::get_id())
        {
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        }
        if (!entry.thread.joinable())
        {
            m_joined.wait(lock);
            continue;
        }
        std::thread thread = std::move(entry.thread);
        lock.unlock();
        std::exception_ptr failure;
        try
        {
            thread.join();
        }
        catch (...)
        {
            failure = std::current_exception(); // two threads that join each other
        }
        lock.lock();
        entry.ended = failure == nullptr;
        entry.thread = std::move(thread);
        m_joined.notify_all();
        if (failure != nullptr)
        {
            std::rethrow_exception(failure);
        }
    }
}

void ThreadList::JoinOrDetachAll() noexcept
{
    std::unique_lock lock(m_lock);
    for (const auto& entry : std::exchange(m_entries, {}))
    {
        try
        {
            Join(lock, *entry);
        }
        catch (const std::exception&)
        {
            if (entry->thread.joinable())
            {
                entry->thread.detach();
            }
        }
    }
}

} // namespace Quoll::Utilities
