// A hint to the task scheduler.
#pragma once

#include "Quoll/Task.h"

#include <vector>

namespace Quoll::Utilities
{

// While one stands, the tasks that this thread submits are held back, because the thread is about to
// wait for them and will run them itself: no pool thread is woken in vain. What nobody waited for
// goes to the pool at the end. For use around code that only submits and waits.
class AwaitedTasks
{
public:
    AwaitedTasks() noexcept;
    AwaitedTasks(const AwaitedTasks&) = delete;
    AwaitedTasks& operator=(const AwaitedTasks&) = delete;
    ~AwaitedTasks();

    static AwaitedTasks* Current() noexcept;
    void Add(std::shared_ptr<Detail::TaskWork> work);

private:
    std::vector<std::shared_ptr<Detail::TaskWork>> m_tasks;
    AwaitedTasks* m_outer;
};

} // namespace Quoll::Utilities
