// The threads that sleep until timers are due, and run their callbacks.
#include "platform/linux/Fork.h"
#include "platform/linux/HelperThreads.h"
#include "platform/linux/TimerQueues.h"

#include <algorithm>
#include <thread>

#include <sys/prctl.h>

namespace Quoll::Platform
{
namespace
{

// How much later than the leader the deputy gets up.
constexpr std::int64_t deputyDelay = 50'000;
// A callback that has run for so long may be blocked, and holds up no other.
constexpr std::int64_t patience = 1'000'000;

constinit thread_local QueueTimer* timerOfThisThread = nullptr;

/// Lets the thread's sleeps end as exactly as the system can.
class ExactSleep
{
public:
    ExactSleep() noexcept
    {
        prctl(PR_SET_TIMERSLACK, 1UL);
    }
    ExactSleep(const ExactSleep&) = delete;
    ExactSleep& operator=(const ExactSleep&) = delete;
    ~ExactSleep()
    {
        prctl(PR_SET_TIMERSLACK, 0UL); // the default again
    }
};

} // namespace

QueueTimer* TimerOfThisThread() noexcept
{
    return timerOfThisThread;
}

TimerQueues::TimerQueues() noexcept
    : m_processors(std::max(std::thread::hardware_concurrency(), 2U))
{
    PrepareForFork();
    m_arrival.queues = this;
    m_arrival.run = [](HelperWork& work) noexcept {
        static_cast<Arrival&>(work).queues->Serve();
    };
}

TimerQueues::Alert TimerQueues::ServeFirst() noexcept
{
    if (m_heap.IsEmpty())
    {
        return {};
    }
    if (Sleeper* const sleeper = m_leader != nullptr ? m_leader : m_deputy)
    {
        const std::int64_t latest = m_heap.FirstDue() + (sleeper == m_deputy ? deputyDelay : 0);
        if (sleeper->until <= latest)
        {
            return {};
        }
        sleeper->until = latest;
        return {&sleeper->thread, false};
    }
    return {nullptr, !std::exchange(m_arriving, true)};
}

bool TimerQueues::Raise(const Alert& alert) noexcept
{
    if (alert.sleeper != nullptr)
    {
        alert.sleeper->parker.Unpark();
    }
    if (alert.arrival && !HelperThreads::Submit(m_arrival, HelperThreads::Kind::Long))
    {
        const Guard guard(m_lock);
        m_arriving = false;
        return false;
    }
    return true;
}

void TimerQueues::Serve() noexcept
{
    const ExactSleep exact;
    Guard guard(m_lock);
    m_arriving = false;
    while (!m_heap.IsEmpty())
    {
        const std::int64_t now = Deadline::Now();
        const std::int64_t due = m_heap.FirstDue();
        const std::int64_t moment = due > now ? due : MayFireAt(now);
        if (moment <= now)
        {
            FireFirst(now, guard);
        }
        else if (!SleepUntil(moment, guard))
        {
            return;
        }
    }
}

bool TimerQueues::SleepUntil(std::int64_t moment, Guard& guard) noexcept
{
    if (m_leader != nullptr && m_deputy != nullptr)
    {
        return false;
    }
    Sleeper*& place = m_leader == nullptr ? m_leader : m_deputy;
    Sleeper self{ThreadRecord::Current(), moment + (m_leader == nullptr ? 0 : deputyDelay)};
    place = &self;
    const Deadline deadline = Deadline::At(self.until);
    guard.unlock();
    self.thread.parker.Park(deadline);
    guard.lock();
    place = nullptr;
    return true;
}

std::int64_t TimerQueues::MayFireAt(std::int64_t now) const noexcept
{
    std::size_t begun = 0;
    for (const Run* run = m_lastRun; run != nullptr && run->begun + patience > now; run = run->previous)
    {
        if (++begun == m_processors)
        {
            return run->begun + patience;
        }
    }
    return now;
}

void TimerQueues::Postpone(QueueTimer& first, std::int64_t now) noexcept
{
    if (first.period == 0)
    {
        m_heap.Remove(first);
        return;
    }
    first.due += first.period;
    if (first.due <= now)
    {
        first.due += ((now - first.due) / first.period + 1) * first.period;
    }
    m_heap.FirstIsLater();
}

void TimerQueues::FireFirst(std::int64_t now, Guard& guard) noexcept
{
    QueueTimer& timer = m_heap.First();
    Postpone(timer, now);
    Run run{timer, now, m_lastRun, nullptr};
    (m_lastRun != nullptr ? m_lastRun->next : m_lastRun) = &run;
    m_lastRun = &run;
    ++timer.running;
    ++timer.queue->running;
    const Alert alert = ServeFirst();
    guard.unlock();
    Raise(alert);
    timerOfThisThread = &timer;
    timer.callback(timer.context, TRUE);
    timerOfThisThread = nullptr;
    guard.lock();
    End(run, guard);
}

void TimerQueues::End(Run& run, Guard& guard) noexcept
{
    (run.next != nullptr ? run.next->previous : m_lastRun) = run.previous;
    if (run.previous != nullptr)
    {
        run.previous->next = run.next;
    }
    QueueTimer& timer = run.timer;
    TimerQueue& queue = *timer.queue;
    --timer.running;
    --queue.running;
    if (!timer.deleted)
    {
        return;
    }
    const Completion ofTimer = timer.completion.TakeIfEnded(timer.running);
    const Completion ofQueue = queue.completion.TakeIfEnded(queue.running);
    Forget(timer);
    Forget(queue);
    guard.unlock();
    ofTimer.Tell();
    ofQueue.Tell();
    guard.lock();
}

} // namespace Quoll::Platform
