#include "Quoll/SystemThreadPool.h"

#include "Quoll/Errors.h"

#include "concurrency/CallQueue.h"

#include <windows.h>

#include <exception>
#include <mutex>
#include <system_error>

namespace Quoll::Utilities
{

// Each call of the platform's work object runs the function that is first then, so there are never more
// functions in the queue than calls to come.
struct SystemThreadPool::State
{
    // The function that the thread runs, and whose it is.
    struct Frame
    {
        State* state;
        PTP_CALLBACK_INSTANCE instance;
        bool isStateGone = false;
    };

    State()
    {
        if (work == nullptr)
        {
            throw Win32Exception("Can't create the work of a thread pool");
        }
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State()
    {
        if (Frame* const own = OwnFrame())
        {
            ::DisassociateCurrentThreadFromCallback(own->instance);
            own->isStateGone = true;
        }
        ::WaitForThreadpoolWorkCallbacks(work, FALSE);
        ::CloseThreadpoolWork(work);
    }

    static void CALLBACK RunOne(PTP_CALLBACK_INSTANCE instance, void* context, PTP_WORK) noexcept
    {
        Detail::PooledCall call;
        if (auto* const state = static_cast<State*>(context); state->calls.TryPop(call))
        {
            Frame frame{state, instance};
            currentFrame = &frame;
            Run(call, frame);
            currentFrame = nullptr;
        }
    }
    static void Run(Detail::PooledCall& call, const Frame& frame) noexcept
    {
        try
        {
            call.act(call.space, true);
        }
        catch (...)
        {
            if (!frame.isStateGone)
            {
                frame.state->Keep(std::current_exception());
            }
        }
    }

    void Keep(std::exception_ptr exception) noexcept
    {
        const std::lock_guard guard(failureLock);
        if (failure == nullptr)
        {
            failure = std::move(exception);
        }
    }
    std::exception_ptr TakeFailure() noexcept
    {
        const std::lock_guard guard(failureLock);
        return std::exchange(failure, nullptr);
    }

    Frame* OwnFrame() const noexcept
    {
        return currentFrame != nullptr && currentFrame->state == this ? currentFrame : nullptr;
    }
    void RefuseOwnFunctions() const
    {
        if (OwnFrame() != nullptr)
        {
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        }
    }

    static constinit thread_local Frame* currentFrame;

    CallQueue calls;
    PTP_WORK work = ::CreateThreadpoolWork(RunOne, this, nullptr);
    std::mutex failureLock;
    std::exception_ptr failure;
};

constinit thread_local SystemThreadPool::State::Frame* SystemThreadPool::State::currentFrame = nullptr;

SystemThreadPool::SystemThreadPool()
    : m_state(new State)
{
}

SystemThreadPool::~SystemThreadPool()
{
    delete m_state;
}

void SystemThreadPool::Enqueue(const Detail::PooledCall& call)
{
    m_state->calls.Push(call);
    ::SubmitThreadpoolWork(m_state->work);
}

void SystemThreadPool::Wait()
{
    m_state->RefuseOwnFunctions();
    ::WaitForThreadpoolWorkCallbacks(m_state->work, FALSE);
    if (const auto failure = m_state->TakeFailure())
    {
        std::rethrow_exception(failure);
    }
}

std::size_t SystemThreadPool::Cancel()
{
    m_state->RefuseOwnFunctions();
    ::WaitForThreadpoolWorkCallbacks(m_state->work, TRUE);
    return m_state->calls.Clear();
}

} // namespace Quoll::Utilities
