/// @file
/// I/O completion ports: where many operations on files and pipes end, and few threads wait.
///
///     CompletionPort port;
///     port.Associate(pipe.get(), theClient);              // what ends on the pipe comes here from now on
///     ReadFile(pipe.get(), buffer, size, nullptr, &record);
///     ...
///     while (auto completion = port.Wait())               // on each of some threads
///     {
///         if (completion->key == theEnd) break;           // somebody called port.Post(theEnd)
///         Handle(*completion);                            // completion->overlapped == &record
///     }
#pragma once

#include "Quoll/Api.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/WindowsTypes.h"

#include <cstdint>
#include <optional>

namespace Quoll::Utilities
{

/// What a completion port delivers.
struct Completion
{
    std::uintptr_t key = 0;           ///< What was given to Associate or Post.
    OVERLAPPED* overlapped = nullptr; ///< The operation's record, or what was given to Post.
    std::uint32_t bytes = 0;          ///< How many were transferred, or what was given to Post.
    std::uint32_t error = 0;          ///< The operation's error code; 0 of success and of Post.
};

/// A queue of completions, owned by this object.
///
/// Completions leave in the order of their arrival. Of the threads that wait, the system prefers those that
/// began last, so that as few as possible are at work. Any thread may call any operation at any time, but the
/// destructor only when no other thread is in one.
class QUOLL_API CompletionPort
{
public:
    /// The time-out of a wait without end.
    static constexpr std::uint32_t FOREVER = 0xFFFFFFFF;

    /// Makes a port.
    ///
    /// So many of its threads are to run at once, 0 for as many as there are processors: while they do,
    /// Windows lets others wait although there are completions. Linux and Wine set no such limit.
    ///
    /// Throws Win32Exception "Can't create a completion port" if the system has no room for it, std::bad_alloc
    /// if there is no memory for this object's own part.
    explicit CompletionPort(unsigned int runningThreads = 0);

    CompletionPort(const CompletionPort&) = delete;
    CompletionPort& operator=(const CompletionPort&) = delete;

    /// Closes the port; completions that nobody has taken are dropped, and so are those to come. The files stay
    /// open, and can't be given another port.
    ~CompletionPort();

    /// Has each operation that is started on a file or pipe from now on end here, until the file is closed.
    ///
    /// An operation that fails at once brings no completion, one that succeeds at once does. An event in the
    /// operation's record is set as well; with the lowest bit of its handle set, no completion comes. The
    /// operations don't end with the thread that started them, as others do.
    ///
    /// The file isn't owned here. Throws Win32Exception "Can't associate a file with a completion port": with
    /// ERROR_INVALID_PARAMETER if it isn't open for overlapped use, or has a port already; ERROR_INVALID_HANDLE
    /// if it is neither a file nor a pipe.
    void Associate(HANDLE file, std::uintptr_t key);

    /// Adds a completion of one's own, with error 0. The system looks into none of its parts.
    ///
    /// Throws Win32Exception "Can't post to a completion port" if there is no memory.
    void Post(std::uintptr_t key, std::uint32_t bytes = 0, OVERLAPPED* overlapped = nullptr);

    /// Takes the first completion; waits for one for so many milliseconds, and gives none when they are over.
    ///
    /// Throws Win32Exception "Can't wait for a completion port" if the system can't wait.
    std::optional<Completion> Wait(std::uint32_t timeout = FOREVER);

    /// The port's own handle, for calls that aren't wrapped here. Ownership stays here.
    HANDLE Handle() const noexcept;

private:
    SharedHandle m_port;
};

} // namespace Quoll::Utilities
