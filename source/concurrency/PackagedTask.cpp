#include "concurrency/PackagedTask.h"

#include <exception>
#include <new>
#include <utility>

namespace Quoll::Utilities
{

// What the promise allocates comes from the task's own block, as long as it fits.
template<class T>
class PackagedTask::Allocator
{
public:
    using value_type = T;

    explicit Allocator(PackagedTask& task) noexcept
        : m_task(&task)
    {
    }
    template<class Other>
    Allocator(const Allocator<Other>& other) noexcept // NOLINT(google-explicit-constructor): allocators convert
        : m_task(other.m_task)
    {
    }

    T* allocate(std::size_t count)
    {
        return static_cast<T*>(m_task->Allocate(count * sizeof(T), alignof(T)));
    }
    void deallocate(T* memory, std::size_t) noexcept
    {
        m_task->Deallocate(memory, alignof(T));
    }

    template<class Other>
    bool operator==(const Allocator<Other>& other) const noexcept
    {
        return m_task == other.m_task;
    }

private:
    template<class Other>
    friend class Allocator;

    PackagedTask* m_task;
};

// The space stays unset: clearing it would cost more than all else here.
PackagedTask::PackagedTask() noexcept
{
} // NOLINT(modernize-use-equals-default)

void PackagedTask::Release::operator()(PackagedTask* task) const noexcept
{
    task->m_work.reset();
    task->DropOwner();
}

PackagedTask::Work::Work(std::function<void()>&& function, PackagedTask& task)
    : callback(std::move(function))
    , promise(std::allocator_arg, Allocator<int>(task))
{
}

PackagedTask::Owner PackagedTask::Make(std::function<void()>&& callback)
{
    Owner task(new PackagedTask);
    task->m_work.emplace(std::move(callback), *task);
    return task;
}

std::future<int> PackagedTask::Future()
{
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): the work goes with the owner only
    return m_work->promise.get_future();
}

void PackagedTask::Run() noexcept
{
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): the work goes with the owner only
    Work& work = *m_work;
    try
    {
        work.callback();
    }
    catch (...)
    {
        work.promise.set_exception(std::current_exception());
        return;
    }
    work.promise.set_value(0);
}

void* PackagedTask::Allocate(std::size_t size, std::size_t alignment)
{
    const std::size_t start = (m_used + alignment - 1) & ~(alignment - 1); // a power of two
    if (alignment > alignof(void*) || start > m_space.size() || size > m_space.size() - start)
    {
        return ::operator new(size, std::align_val_t(alignment));
    }
    m_used = static_cast<std::uint32_t>(start + size);
    AddOwner();
    return m_space.data() + start;
}

void PackagedTask::Deallocate(void* memory, std::size_t alignment) noexcept
{
    const auto offset = reinterpret_cast<std::uintptr_t>(memory) - reinterpret_cast<std::uintptr_t>(m_space.data());
    if (offset >= m_space.size())
    {
        ::operator delete(memory, std::align_val_t(alignment));
        return;
    }
    DropOwner();
}

void PackagedTask::AddOwner() noexcept
{
    m_owners.store(m_owners.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

void PackagedTask::DropOwner() noexcept
{
    if (m_owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
    {
        delete this;
    }
}

} // namespace Quoll::Utilities
