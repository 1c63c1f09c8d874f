// A message pipe server for any number of clients.
//
//     auto server = MultiClientNamedPipeServer::Create("\\\\.\\pipe\\echo"_w,
//         [](std::uint32_t, const WString& message) { return message; },
//         NamedPipeMessageEncoding::Utf8, 5000, 4096, false, nullptr, nullptr);
//     server->Start(nullptr);
//
// Threads:   one thread accepts, and each client has one (see PipeServerConnection.h). The
//            authentication callback runs on the accepting thread, the message and dropped callbacks
//            on the client's, the log callback on all of them. Start, Stop and the accessors may be
//            called from any thread, and from the callbacks: Stop then does all but wait for the
//            thread that it is called on.
// Failures:  a client that goes while it connects, or whose authentication throws, is dropped and
//            the server goes on. For want of handles, memory or threads it logs, pauses and tries
//            again. Any other failure to make the pipe, a name that another process has taken
//            included, ends the accepting thread; the log tells, and IsStarted stays true until Stop.
// Finished connections stay in memory until the next client comes or the server stops.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/Locks.h"
#include "Quoll/PipeFraming.h"
#include "Quoll/PipeServerConnection.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <thread>

namespace Quoll::Utilities
{

/// A server of a named pipe.
class QUOLL_API IMultiClientNamedPipeServer
{
public:
    /// Takes a connection's id and a message, gives the answer; empty: no answer.
    using MessageCallback = std::function<WString(std::uint32_t id, const WString& message)>;
    /// Judges a client that has just connected: the server's end of its pipe, true, and the id that it
    /// would get. False drops the client. PipePeer tells who it is.
    using AuthenticationCallback = std::function<bool(const SharedHandle& pipe, bool server, std::uint32_t id)>;

    IMultiClientNamedPipeServer() = default;
    IMultiClientNamedPipeServer(const IMultiClientNamedPipeServer&) = delete;
    IMultiClientNamedPipeServer& operator=(const IMultiClientNamedPipeServer&) = delete;
    virtual ~IMultiClientNamedPipeServer();

    /// Starts accepting clients, each judged by the callback; an empty one admits all that the pipe's
    /// security admits. Does nothing while the server is started. Throws Win32Exception without an
    /// event, std::system_error without a thread.
    virtual void Start(const AuthenticationCallback& authentication) = 0;

    /// Ends accepting, then each connection in turn. What is unread is lost, and no client is
    /// reported as dropped. Waits for callbacks that are running. A stop during another thread's stop
    /// returns at once.
    virtual void Stop() = 0;

    /// Replaces the message callback for connections made later.
    virtual void SetReceiveCallBack(const MessageCallback& callback) = 0;

    /// The name as it was given.
    virtual WString GetPipeName() = 0;
};

/// The server, with one thread a client.
class QUOLL_API MultiClientNamedPipeServer : public IMultiClientNamedPipeServer,
                                             public std::enable_shared_from_this<MultiClientNamedPipeServer>
{
public:
    /// Takes the id of a connection whose client has gone.
    using DroppedCallback = std::function<void(std::uint32_t id)>;
    /// Takes one line, without line end.
    using LogCallback = std::function<void(const WString& line)>;

    /// Makes a server, not started; the server stops when the last copy of the result goes.
    ///
    /// `name` is passed to the platform as it is. `timeout` is the pipe's default time-out in
    /// milliseconds. `bufferSize` is that of the pipe's buffers in bytes and of the read buffer in
    /// units of the encoding. Open to everybody: no user is kept out; else the platform's default
    /// security holds. Each callback may be empty. The first connection has the id 0, each further
    /// one the next.
    static std::shared_ptr<MultiClientNamedPipeServer> Create(const WString& name, MessageCallback messageCallback,
                                                              NamedPipeMessageEncoding encoding, std::uint32_t timeout,
                                                              std::uint32_t bufferSize, bool openToEverybody,
                                                              DroppedCallback droppedCallback, LogCallback logCallback);

    ~MultiClientNamedPipeServer() override;

    void Start(const AuthenticationCallback& authentication) override;
    void Stop() override;
    void SetReceiveCallBack(const MessageCallback& callback) override;
    WString GetPipeName() override;

    /// True from Start until Stop has done its work.
    bool IsStarted();

protected:
    /// For Create.
    MultiClientNamedPipeServer(const WString& name, MessageCallback messageCallback, NamedPipeMessageEncoding encoding,
                               std::uint32_t timeout, std::uint32_t bufferSize, bool openToEverybody,
                               DroppedCallback droppedCallback, LogCallback logCallback);

private:
    using Connection = std::shared_ptr<ActiveNamedPipeServerConnection>;
    enum class Accepted
    {
        Client,
        Nobody, // the client has gone, or was refused
        Stopped
    };

    void WaitForConnections(const SharedHandle& stopEvent) noexcept;
    bool ServeNextClient(const SharedHandle& stopEvent);
    Accepted AcceptClient(NamedPipeInstance& instance, const SharedHandle& stopEvent);
    bool Connect(NamedPipeInstance& instance, const SharedHandle& stopEvent);
    SharedHandle CreatePipe();
    Accepted WaitForNewClient(NamedPipeInstance& instance, const SharedHandle& stopEvent);
    bool AuthenticateClient(const SharedHandle& pipe) noexcept;
    void AddActiveConnectionThread(const std::shared_ptr<NamedPipeInstance>& instance);
    WString CallMessageReceivedCallback(const MessageCallback& callback, std::uint32_t id, const WString& message);
    void CallClientDroppedCallback(std::uint32_t id);
    bool RemoveActiveConnection(std::uint32_t id);
    void ClearActiveConnections();
    void ClearClosedConnections(bool waitForThreads);
    void StopObserverThread(std::thread& thread);
    void Log(const char* text) const;

    std::shared_ptr<const AuthenticationCallback> m_authentication;
    const bool m_openToEverybody;
    const WString m_name;
    const std::uint32_t m_timeout;
    const std::uint32_t m_bufferSize;
    const NamedPipeMessageEncoding m_encoding;
    std::uint32_t m_nextId = 0; // under the lock of the active connections
    CriticalSection m_lock;
    std::shared_ptr<const MessageCallback> m_messageCallback;
    const DroppedCallback m_droppedCallback;
    const LogCallback m_logCallback;
    CriticalSection m_activeLock;
    std::list<Connection> m_active;
    CriticalSection m_closedLock;
    std::list<Connection> m_closed;
    SharedHandle m_stopEvent;
    bool m_stopping = false;
    std::unique_ptr<std::thread> m_thread;
};

} // namespace Quoll::Utilities
