/// @file
/// Functions that run on the system's thread pool.
///
///     SystemThreadPool pool;
///     pool.Submit([] { Refresh(); });                                // nobody asks for the result
///     std::future<int> sum = pool.Run([] { return Sum(); });         // somebody does
///     ...
///     pool.Wait();                                                   // all that was submitted has ended
///
/// The threads are the process's and are shared by all objects: on Windows those of the system's default
/// pool, on Linux the library's helper threads. An object keeps its own functions together, so that they
/// can be waited for or cancelled; it owns no thread and is cheap to have. As many functions run at once as
/// there are processors; when they block, the system adds threads after a while. Functions begin in the
/// order of their submission as far as that has an order, but may overtake each other from then on.
///
/// A pool of one's own, with its own threads, is ThreadPool.
#pragma once

#include "Quoll/Api.h"

#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace Quoll::Utilities
{

/// @cond
namespace Detail
{

/// A function in the queue of a SystemThreadPool: small ones as they are, others by an owning pointer.
struct PooledCall
{
    static constexpr std::size_t SPACE = 56;

    using Act = void (*)(std::byte* space, bool run); ///< Runs the function or not, and drops it.

    Act act;
    alignas(void*) std::byte space[SPACE];

    template<class Function>
    static constexpr bool FITS = sizeof(Function) <= SPACE && alignof(Function) <= alignof(void*) &&
                                 std::is_trivially_copyable_v<Function> && std::is_trivially_destructible_v<Function>;

    template<class Function>
    static void ActOnCopy(std::byte* space, bool run)
    {
        if (run)
        {
            std::invoke(*std::launder(reinterpret_cast<Function*>(space)));
        }
    }

    template<class Function>
    static void ActOnOwned(std::byte* space, bool run)
    {
        const std::unique_ptr<Function> function(*std::launder(reinterpret_cast<Function**>(space)));
        if (run)
        {
            std::invoke(*function);
        }
    }
};

} // namespace Detail
/// @endcond

/// Submits functions to the system's thread pool, and waits for its own ones or cancels them.
///
/// Any thread may call any operation, functions that run here included, but for the two that wait (see
/// there). Not for the child of a fork before it calls exec: what is submitted there never runs.
class QUOLL_API SystemThreadPool
{
public:
    /// Throws Win32Exception "Can't create the work of a thread pool" if the platform has no memory or no
    /// thread for it. After that no submission fails for lack of threads.
    SystemThreadPool();

    /// Waits for all functions, as Wait does; a kept exception is dropped. A function of this object may
    /// destroy it: the others are waited for, and nothing of the object is used after it.
    ~SystemThreadPool();

    SystemThreadPool(const SystemThreadPool&) = delete;
    SystemThreadPool& operator=(const SystemThreadPool&) = delete;

    /// Lets the pool run a function without arguments; what it returns is ignored.
    ///
    /// The function is moved here and destroyed when it has run, on that thread. An exception that comes
    /// out of it is kept for Wait; if one is kept already, it is dropped.
    ///
    /// Throws std::bad_alloc without memory, and what moving the function throws; it isn't submitted then.
    template<class Function>
    void Submit(Function&& function)
    {
        using Stored = std::decay_t<Function>;
        static_assert(std::is_invocable_v<Stored&>, "a function without arguments is needed");
        Detail::PooledCall call;
        if constexpr (Detail::PooledCall::FITS<Stored>)
        {
            ::new (static_cast<void*>(call.space)) Stored(std::forward<Function>(function));
            call.act = Detail::PooledCall::ActOnCopy<Stored>;
            Enqueue(call);
        }
        else
        {
            auto owned = std::make_unique<Stored>(std::forward<Function>(function));
            ::new (static_cast<void*>(call.space)) Stored*(owned.get());
            call.act = Detail::PooledCall::ActOnOwned<Stored>;
            Enqueue(call);
            // NOLINTNEXTLINE(bugprone-unused-return-value): it is the queue's now
            owned.release();
        }
    }

    /// As Submit, for a function whose result, or exception, goes to a future. The future of a cancelled
    /// function reports a broken promise. Its destructor doesn't wait.
    template<class Function>
    auto Run(Function&& function) -> std::future<std::invoke_result_t<std::decay_t<Function>&>>
    {
        using Result = std::invoke_result_t<std::decay_t<Function>&>;
        std::packaged_task<Result()> task(std::forward<Function>(function));
        auto future = task.get_future();
        Submit(std::move(task));
        return future;
    }

    /// Waits until all submitted functions have ended, those that are submitted meanwhile included, on
    /// whatever thread.
    ///
    /// Then throws the first exception that has come out of a function of Submit since the last Wait.
    /// Throws std::system_error (std::errc::resource_deadlock_would_occur) at once when a function of this
    /// object calls it.
    void Wait();

    /// Drops the functions that haven't begun, and waits for those that have. Gives the number of dropped
    /// ones. A function that is submitted at the same moment is dropped or runs, as it happens. Exceptions
    /// stay for Wait.
    ///
    /// Throws as Wait does when a function of this object calls it, and drops nothing then.
    std::size_t Cancel();

private:
    struct State;

    void Enqueue(const Detail::PooledCall& call);

    State* m_state;
};

} // namespace Quoll::Utilities
