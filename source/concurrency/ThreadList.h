// Threads in the order of their making, to be joined together.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Quoll::Utilities
{

// Any thread may call any operation; each thread is joined once, whoever comes to it first, and the
// others wait for that.
class ThreadList
{
public:
    void Add(const std::function<void()>& body); // strongly safe; std::system_error without a thread
    std::size_t Size() const;

    // Joins all in order and forgets them. A join that fails, as that of the calling thread does,
    // throws std::system_error and leaves the list as it is.
    void JoinAndClear();

    // Joins all that can be joined, and lets go of the others, the calling thread first of all.
    void JoinOrDetachAll() noexcept;

private:
    struct Entry
    {
        std::thread thread; // empty while somebody joins it
        std::thread::id id;
        bool ended = false;
    };

    void Join(std::unique_lock<std::mutex>& lock, Entry& entry);

    mutable std::mutex m_lock;
    std::condition_variable m_joined;
    std::vector<std::shared_ptr<Entry>> m_entries;
};

} // namespace Quoll::Utilities
