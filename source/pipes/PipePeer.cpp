#include "Quoll/PipePeer.h"

#include "Quoll/Errors.h"

#include <platform/peer.h>

#include <utility>

namespace Quoll::Utilities
{

PipePeer PipePeer::Query(const SharedHandle& pipe)
{
    Platform::PeerIdentity identity;
    if (!Platform::QueryPipePeer(pipe.get(), identity))
    {
        throw Win32Exception("Can't tell the peer of a named pipe");
    }
    PipePeer peer;
    peer.m_processId = identity.processId;
    peer.m_user = std::move(identity.user);
    peer.m_executable = std::move(identity.executable);
    peer.m_device = identity.device;
    peer.m_file = identity.file;
    return peer;
}

std::uint32_t PipePeer::GetProcessId() const noexcept
{
    return m_processId;
}

const std::string& PipePeer::GetUser() const noexcept
{
    return m_user;
}

const WString& PipePeer::GetExecutable() const noexcept
{
    return m_executable;
}

std::uint64_t PipePeer::GetDevice() const noexcept
{
    return m_device;
}

std::uint64_t PipePeer::GetFile() const noexcept
{
    return m_file;
}

} // namespace Quoll::Utilities
