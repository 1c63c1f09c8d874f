#include "platform/linux/Operation.h"

#include "platform/linux/Event.h"

#include <atomic>
#include <utility>

namespace Quoll::Platform
{

namespace
{

// The record keeps the outcome as the platform's headers say: a status word and a count. The
// status is 0, 0x103 while pending, or this mark with the error's code.
constexpr std::uintptr_t failureMark = 0xC0070000;

} // namespace

void StorePending(OVERLAPPED& overlapped) noexcept
{
    overlapped.InternalHigh = 0;
    std::atomic_ref(overlapped.Internal).store(statusPending, std::memory_order_release);
}

void StoreOutcome(OVERLAPPED& overlapped, DWORD code, std::size_t bytes) noexcept
{
    overlapped.InternalHigh = bytes;
    std::atomic_ref(overlapped.Internal).store(code == 0 ? 0 : failureMark | code, std::memory_order_release);
}

bool IsPending(OVERLAPPED& overlapped) noexcept
{
    return std::atomic_ref(overlapped.Internal).load(std::memory_order_acquire) == statusPending;
}

DWORD OutcomeCode(OVERLAPPED& overlapped) noexcept
{
    return static_cast<DWORD>(std::atomic_ref(overlapped.Internal).load(std::memory_order_acquire) & 0xFFFF);
}

Operation::Operation(OVERLAPPED* overlapped, Ref<Event> completion) noexcept
    : m_overlapped(overlapped)
    , m_completion(std::move(completion))
    , m_thread(GetCurrentThreadId())
    , m_starter(ThreadRecord::Current())
{
}

Operation::~Operation() = default;

void Operation::Begin() noexcept
{
    m_completion->Reset();
}

void Operation::Attach() noexcept
{
    m_counted = true;
    m_starter.pendingOperations.fetch_add(1, std::memory_order_relaxed);
    m_completion->AttachOperation(*this);
}

void Operation::Complete(DWORD code, std::size_t bytes) noexcept
{
    if (std::exchange(m_counted, false))
    {
        m_starter.pendingOperations.fetch_sub(1, std::memory_order_relaxed);
    }
    m_done.store(true, std::memory_order_release);
    StoreOutcome(*m_overlapped, code, bytes);
    m_completion->CompleteOperation(*this);
    m_notice.Send(code, bytes);
}

} // namespace Quoll::Platform
