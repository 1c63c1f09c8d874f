// Who is at the other end of a pipe.
//
// An authentication callback gets the pipe's handle and asks:
//
//     server->Start([](const SharedHandle& pipe, bool, std::uint32_t) {
//         return PipePeer::Query(pipe).GetExecutable() == trusted;
//     });
//
// This is evidence, not proof. It describes the process that opened the pipe (or made it) as it was
// when it was asked. That process may have handed its end to another, may run another program by the
// time it talks, and may have other people's code in it; an account that may trace it or write to
// its executable controls it.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <string>

namespace Quoll::Utilities
{

/// The process at the other end of a pipe, as it was when it was asked for.
class QUOLL_API PipePeer
{
public:
    /// Looks at the peer of a connected pipe's end, the server's or the client's.
    ///
    /// The process is looked at twice, so that what is told belongs to one process even if it ends
    /// meanwhile. Throws Win32Exception if it has gone or can't be told. May be called from any thread.
    static PipePeer Query(const SharedHandle& pipe);

    std::uint32_t GetProcessId() const noexcept;   ///< As the machine counts processes.
    const std::string& GetUser() const noexcept;   ///< The account's security identifier, "S-1-…".
    const WString& GetExecutable() const noexcept; ///< Full path of the executable, in the library's form.
    std::uint64_t GetDevice() const noexcept;      ///< The device that holds the executable's file.
    std::uint64_t GetFile() const noexcept;        ///< The file's number on that device: its inode.

private:
    PipePeer() = default;

    std::uint32_t m_processId = 0;
    std::string m_user;
    WString m_executable;
    std::uint64_t m_device = 0;
    std::uint64_t m_file = 0;
};

} // namespace Quoll::Utilities
