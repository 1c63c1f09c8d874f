// The names of pipes: where a process listens, and the handshake that leads to an instance.
//
// A name is an abstract Unix socket, so it is free the moment its process dies. A client's hello
// comes first, and only an answered hello takes an instance. Strangers cost nobody anything: a
// connection that says nothing or garbage is dropped after a second, or earlier when there are too
// many; nobody waits for it in the meantime.
#pragma once

#include "platform/linux/PipeProtocol.h"
#include "platform/linux/ServerEnd.h"

#include <list>
#include <memory>
#include <vector>

namespace Quoll::Platform
{

class Handshake;

/// A name that this process serves.
class PipeName final : public Counted
{
public:
    /// Adds the instance to the name, which begins with the first one. The last error is set on
    /// failure: another process has the name (ERROR_ACCESS_DENIED), too many (ERROR_PIPE_BUSY).
    static bool Join(const PipeAddress& address, const PipeSettings& settings, ServerEnd& instance) noexcept;
    void Leave(ServerEnd& instance) noexcept;
    /// An instance listens anew: those who wait for one are told.
    void InstanceListens() noexcept;

    // On the I/O thread:
    void Accept() noexcept;
    void AcceptAgain() noexcept;
    /// The handshake's hello is complete.
    void Serve(Handshake& handshake, HelloKind kind) noexcept;
    void Drop(Handshake& handshake) noexcept;
    /// It has waited for an instance long enough.
    void GiveUp(Handshake& handshake) noexcept;

private:
    using Handshakes = std::list<Ref<Handshake>>;

    PipeName(PipeAddress address, const PipeSettings& settings) noexcept;
    ~PipeName() override;

    bool Listen() noexcept;
    bool AddInstance(const PipeSettings& settings, ServerEnd& instance) noexcept;
    void Greet(int socket) noexcept;
    bool Admits(int socket) const noexcept;
    DWORD Answer(Handshake& handshake, HelloKind kind) noexcept;
    void Keep(Handshakes& list, std::size_t most, const Ref<Handshake>& handshake, DWORD limit);
    void KeepLocked(Handshakes& list, std::size_t most, const Ref<Handshake>& handshake, DWORD limit);
    static bool Remove(Handshakes& list, const Handshake& handshake) noexcept;
    DWORD AttachToAny(Handshake& handshake) noexcept;
    bool AnyListens() const noexcept;
    void PauseAccepting() noexcept;
    void EndHandshakes(DWORD code) noexcept;

    const PipeAddress m_address;
    const PipeSettings m_settings;
    int m_listener = -1;
    IoThread::Id m_watch = 0;
    std::mutex m_lock; // guards what follows; taken before an instance's lock
    std::vector<ServerEnd*> m_instances;
    Handshakes m_handshakes; // oldest first
    Handshakes m_opening;    // those who get the next instance that listens
    Handshakes m_waiting;    // those who ask for a free instance
};

} // namespace Quoll::Platform
