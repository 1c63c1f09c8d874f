// A callback and the promise of its end: what the thread pool's queue holds.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>

namespace Quoll::Utilities
{

// All that a scheduled task needs lies in one block of memory, the state that its future shares
// included, because allocations are most of what scheduling costs. The block goes with the last of
// its owners: the queue, the one who runs or drops the task, the future.
class PackagedTask
{
public:
    struct Release
    {
        void operator()(PackagedTask* task) const noexcept;
    };
    using Owner = std::unique_ptr<PackagedTask, Release>; // drops callback and promise, run or not

    static Owner Make(std::function<void()>&& callback);

    PackagedTask(const PackagedTask&) = delete;
    PackagedTask& operator=(const PackagedTask&) = delete;

    std::future<int> Future();
    void Run() noexcept; // once

private:
    friend class TaskQueue;

    template<class T>
    class Allocator;

    struct Work
    {
        Work(std::function<void()>&& function, PackagedTask& task);

        std::function<void()> callback;
        std::promise<int> promise;
    };

    PackagedTask() noexcept;
    ~PackagedTask() = default;

    void* Allocate(std::size_t size, std::size_t alignment);
    void Deallocate(void* memory, std::size_t alignment) noexcept;
    void AddOwner() noexcept; // before a second thread knows the task
    void DropOwner() noexcept;

    std::atomic<PackagedTask*> m_next{nullptr}; // the queue's
    std::atomic<std::uint32_t> m_owners{1};
    std::uint32_t m_used = 0;
    std::optional<Work> m_work;
    alignas(void*) std::array<std::byte, 96> m_space; // for the promise's parts
};

} // namespace Quoll::Utilities
