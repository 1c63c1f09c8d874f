// A server's instance of a pipe.
#pragma once

#include "platform/linux/PipeEnd.h"

namespace Quoll::Platform
{

class PipeName;

/// What the first CreateNamedPipeW of a name decides, and its buffer sizes.
struct PipeSettings
{
    DWORD maxInstances = PIPE_UNLIMITED_INSTANCES;
    DWORD outBufferSize = 0;
    DWORD inBufferSize = 0;
    DWORD defaultTimeout = 0;
    bool openToEverybody = false;
    bool firstInstance = false;
    bool messages = false;
};

/// A server's instance.
class ServerEnd final : public PipeEnd
{
public:
    explicit ServerEnd(const PipeSettings& settings);

    BOOL Connect(OVERLAPPED& overlapped) noexcept;
    BOOL Disconnect() noexcept;

    bool IsServer() const noexcept override
    {
        return true;
    }
    void HandleClosed() noexcept override;

    // With the name's lock held:
    void SetName(Ref<PipeName> name) noexcept; // before the handle exists
    bool IsListening() noexcept;
    /// Answers on the socket and takes it over: ERROR_SUCCESS. ERROR_PIPE_BUSY if this instance
    /// doesn't listen, ERROR_TOO_MANY_OPEN_FILES if there is nothing to connect it with just now,
    /// ERROR_BROKEN_PIPE if the client has gone.
    DWORD TryAttach(int socket) noexcept;

protected:
    ~ServerEnd() override;

private:
    enum class State : std::uint8_t
    {
        Listening,
        Connected,
        Disconnected
    };

    class ConnectOperation;

    DWORD CodeWithoutPeer() const noexcept override;
    bool CancelOther(const OVERLAPPED* overlapped, DWORD thread) noexcept override;
    void EndConnect(DWORD code) noexcept;

    const DWORD m_outBufferSize;
    const DWORD m_inBufferSize;
    Ref<PipeName> m_name; // set before the handle exists
    State m_state = State::Listening;
    Ref<Operation> m_connect;
};

} // namespace Quoll::Platform
