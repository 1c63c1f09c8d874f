// The messaging endpoint of an application: a server on its own pipe and clients of others' pipes.
//
// Messages that come in on the server's side go to one receive callback, with the id of the
// connection. Messages go out to one client, by the id under which the application filed it, or to
// all. An endpoint that is to be answered serves a pipe itself, and the other adds a client that
// leads there: a receive callback answers by WriteMessage to that client.
//
// Ids:      a connection's id is the server's count; a client's id is the application's choice. When a
//           connection ends, its id is looked up among the clients' ids, and that client is dropped:
//           an application that wants a lost peer's client to be dropped files it under the
//           connection's id.
// Drops:    a client whose peer has gone, by that look-up or because a write to it failed on the pipe,
//           is closed, reported to its disconnect callback once and then removed. Without a
//           disconnect callback it stays as it is. Nothing is resent and nothing reconnected by
//           itself.
// Threads:  all operations may be called from any thread and from callbacks. The receive callback runs
//           on the thread of the connection, the disconnect callback there or on the thread whose
//           write failed, no lock held. What a disconnect callback throws is logged; a standard
//           exception of the receive callback is logged, any other drops the connection.
// Failures: std::runtime_error where no other exception is named.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/Locks.h"
#include "Quoll/PipeClient.h"
#include "Quoll/PipeFraming.h"
#include "Quoll/PipeServer.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/WideString.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>

namespace Quoll::Utilities
{

/// A messaging endpoint.
class QUOLL_API IMultiClientPipe
{
public:
    /// Takes the id of a connection and a message.
    using ReceiveCallback = std::function<void(std::uint32_t id, const WString& message)>;
    /// Takes the id of a client that has been dropped.
    using DisconnectCallback = std::function<void(std::uint32_t id)>;
    /// Gives the pipe's name, with the platform's prefix or without.
    using ConnectionStringCallback = std::function<WString()>;
    /// Judges a server that a client has opened: the client's end of the pipe, and false.
    using ClientAuthentication = IAsyncNamedPipeClient::AuthenticationCallback;
    /// Judges a client that has connected: the server's end, true, and the connection's id to be.
    using ServerAuthentication = IMultiClientNamedPipeServer::AuthenticationCallback;
    /// Takes one line, without line end.
    using LogCallback = std::function<void(const WString& line)>;

    /// The id of the default client while there is none.
    static constexpr std::uint32_t NO_CLIENT = 0xFFFFFFFF;

    IMultiClientPipe() = default;
    IMultiClientPipe(const IMultiClientPipe&) = delete;
    IMultiClientPipe& operator=(const IMultiClientPipe&) = delete;
    virtual ~IMultiClientPipe();

    /// Starts the server. Each callback may be empty. Does nothing while the server stands. Throws as
    /// IMultiClientNamedPipeServer::Start; a failure to make the pipe shows in the log only.
    virtual void Start(const ClientAuthentication& clientAuthentication,
                       const ServerAuthentication& serverAuthentication, const LogCallback& log) = 0;

    /// Stops the server and closes and forgets all clients, without reports.
    virtual void Stop() = 0;

    /// Sets the receive callback for connections made from now on; each keeps the one that stood when
    /// it was made. Throws std::runtime_error for an empty one.
    virtual void RegisterReceiveCallback(const ReceiveCallback& callback) = 0;

    /// Writes to every client and waits for each. When all have been tried, the first exception, if
    /// any, comes out.
    virtual void WriteMessage(const WString& message) = 0;

    /// Writes to one client; about `wait` see IAsyncNamedPipeClient::WriteMessage.
    ///
    /// Throws Quoll::Communication::ClosedConnectionException for an unknown id, a client without a
    /// connection string, and every failure of the write.
    virtual void WriteMessage(std::uint32_t id, const WString& message, bool wait) = 0;

    /// Opens a client for a pipe name and files it under the id.
    ///
    /// The platform's prefix is put in front if it is missing. The client has this endpoint's
    /// encoding, time-out and client authentication. Throws std::runtime_error for an empty name and
    /// an id in use, and as IAsyncNamedPipeClient::Open; nothing is filed then.
    virtual void AddClient(std::uint32_t id, const WString& connectionString, bool makeDefault,
                           const DisconnectCallback& disconnect) = 0;

    /// As above, with a callback that gives the name, now and at each reconnection. If it gives an
    /// empty name, a client without a pipe is filed. Throws std::runtime_error for an empty callback.
    virtual void AddClient(std::uint32_t id, const ConnectionStringCallback& connectionString, bool makeDefault,
                           const DisconnectCallback& disconnect) = 0;

    /// Files the default client under a new id, which becomes the default id. A client that was filed
    /// there is closed, and an old default id is free again; a client that had no id yet stays under
    /// 0xFFFFFFFF as well. Without a default client only the default id changes.
    virtual void AddParentClient(std::uint32_t id) = 0;

    /// Closes a client and opens it again; its connection string callback, if any, is asked first, and
    /// another name makes another client. Throws std::runtime_error for an unknown id or a client
    /// that still has no name, and as IAsyncNamedPipeClient::Open.
    virtual void ReconnectClient(std::uint32_t id) = 0;

    /// Closes and forgets a client, without a report. Nothing happens for an unknown id.
    virtual void RemoveClient(std::uint32_t id) = 0;

    /// The name of this endpoint's pipe, as it was given.
    virtual WString GetPipeServerName() = 0;

    /// A client's pipe name. Throws as GetClientConnectionString.
    virtual WString GetPipeClientName(std::uint32_t id) = 0;

    /// Makes an id the default one, whether a client stands there or not.
    virtual void SetDefaultClient(std::uint32_t id) = 0;

    /// The default id, or NO_CLIENT.
    virtual std::uint32_t GetDefaultClientId() = 0;

    /// Whether clients are available: WaitForClientAvailable(0).
    virtual bool IsClientAvailable() = 0;

    /// Waits so many milliseconds (0xFFFFFFFF: without limit) until a client has been added. True from
    /// the first client on, until RemoveClient takes the last.
    virtual bool WaitForClientAvailable(std::uint32_t timeout) = 0;

    /// Waits until a client is available and the default client's pipe can be opened, and opens it.
    ///
    /// Tries every 2 seconds while the pipe is missing or busy, or there is no default client. Gives 0
    /// and the pipe; 191 if client authentication refuses the server; 109 once `stopEvent` is set;
    /// any other failure's code.
    virtual std::uint32_t WaitForClientDestinationPipe(const SharedHandle& stopEvent, SharedHandle& pipe) = 0;

    /// Replaces a client's disconnect callback. Throws std::runtime_error for an unknown id.
    virtual void SetDisconnectCallback(std::uint32_t id, const DisconnectCallback& callback) = 0;

    /// A client's pipe name. Throws std::runtime_error for an unknown id.
    virtual WString GetClientConnectionString(std::uint32_t id) = 0;

    /// All ids under which clients are filed, in ascending order.
    virtual std::list<std::uint32_t> GetListOfClientIDs() = 0;

    /// Gives the default client a name that a callback supplies, and doesn't open it: see
    /// ReopenParentClient. If there is no default client, one is made, under the default id (NO_CLIENT
    /// before there is any). An empty callback does nothing.
    virtual void SetParentPipeName(const ConnectionStringCallback& callback) = 0;

    /// Opens the default client, with a connected pipe if one is given. Throws std::runtime_error if
    /// there is no default client, and as IAsyncNamedPipeClient::Open.
    virtual void ReopenParentClient(const SharedHandle& pipe) = 0;

    /// The first id whose client has exactly this connection string, -1 if none has.
    virtual int GetClientIdByName(const WString& connectionString) = 0;

    /// Notes that a stop will follow; nothing else happens.
    virtual void PrepareStop() = 0;
};

struct ClientContainer;
class ManualResetSignal;

/// The endpoint on named pipes.
class QUOLL_API MultiClientPipe : public IMultiClientPipe, public std::enable_shared_from_this<MultiClientPipe>
{
public:
    /// Makes an endpoint, not started; it stops when the last copy of the result goes.
    ///
    /// The arguments are those of MultiClientNamedPipeServer::Create; the time-out and the encoding
    /// are the clients' too.
    static std::shared_ptr<MultiClientPipe> Create(const WString& pipeServerName, NamedPipeMessageEncoding encoding,
                                                   std::uint32_t timeout, std::uint32_t bufferSize,
                                                   bool openToEverybody);
    ~MultiClientPipe() override;

    void Start(const ClientAuthentication& clientAuthentication, const ServerAuthentication& serverAuthentication,
               const LogCallback& log) override;
    void Stop() override;
    void RegisterReceiveCallback(const ReceiveCallback& callback) override;
    void WriteMessage(const WString& message) override;
    void WriteMessage(std::uint32_t id, const WString& message, bool wait) override;
    void AddClient(std::uint32_t id, const WString& connectionString, bool makeDefault,
                   const DisconnectCallback& disconnect) override;
    void AddClient(std::uint32_t id, const ConnectionStringCallback& connectionString, bool makeDefault,
                   const DisconnectCallback& disconnect) override;
    void AddParentClient(std::uint32_t id) override;
    void ReconnectClient(std::uint32_t id) override;
    void RemoveClient(std::uint32_t id) override;
    WString GetPipeServerName() override;
    WString GetPipeClientName(std::uint32_t id) override;
    void SetDefaultClient(std::uint32_t id) override;
    std::uint32_t GetDefaultClientId() override;
    bool IsClientAvailable() override;
    bool WaitForClientAvailable(std::uint32_t timeout) override;
    std::uint32_t WaitForClientDestinationPipe(const SharedHandle& stopEvent, SharedHandle& pipe) override;
    void SetDisconnectCallback(std::uint32_t id, const DisconnectCallback& callback) override;
    WString GetClientConnectionString(std::uint32_t id) override;
    std::list<std::uint32_t> GetListOfClientIDs() override;
    void SetParentPipeName(const ConnectionStringCallback& callback) override;
    void ReopenParentClient(const SharedHandle& pipe) override;
    int GetClientIdByName(const WString& connectionString) override;
    void PrepareStop() override;

protected:
    /// For Create.
    MultiClientPipe(const WString& pipeServerName, NamedPipeMessageEncoding encoding, std::uint32_t timeout,
                    std::uint32_t bufferSize, bool openToEverybody);

    void InitNamedPipeClient(ClientContainer& container); ///< Makes and opens the client for the container's name.
    /// Whether both lead to one pipe: equal with the prefix put in front; false if either is empty.
    static bool AreConnectionStringsEqual(const WString& left, const WString& right);
    bool AuthenticateDestinationServer(const SharedHandle& pipe); ///< By the client authentication.
    void OnClientDropped(std::uint32_t id);                       ///< Closes, reports and removes, once a client.
    void OnClientDroppedNoneMultiClient();                        ///< Closes the default client and its id.

private:
    using Container = std::shared_ptr<ClientContainer>;

    Container GetClient(std::uint32_t id);
    Container GetKnownClient(std::uint32_t id);
    void CheckIdIsFree(std::uint32_t id, const char* inUse);
    void FileClient(const Container& container, bool makeDefault, const char* inUse);
    std::shared_ptr<IAsyncNamedPipeClient> MakeClient(const WString& name);
    std::uint32_t OpenDefaultClientPipe(SharedHandle& pipe);
    IMultiClientNamedPipeServer::MessageCallback BindReceiver();
    void Receive(const ReceiveCallback& callback, std::uint32_t id, const WString& message);
    std::shared_ptr<const LogCallback> GetLog();
    void Log(const WString& line);
    void LogDropStep(std::uint32_t step, std::uint32_t id);
    void DebugLogClient(std::uint32_t id);
    void DebugLogMessage(const char* action, std::uint32_t id);

    const WString m_pipeServerName;
    const NamedPipeMessageEncoding m_encoding;
    const std::uint32_t m_timeout;
    const std::uint32_t m_bufferSize;
    const bool m_openToEverybody;
    const std::unique_ptr<ManualResetSignal> m_clientAvailable;
    std::atomic<bool> m_stopPrepared{false};
    std::atomic<std::uint32_t> m_defaultClientId{NO_CLIENT};
    CriticalSection m_clientsLock;
    std::map<std::uint32_t, Container> m_clients;
    CriticalSection m_callbacksLock; // guards the members below
    std::shared_ptr<IMultiClientNamedPipeServer> m_server;
    ReceiveCallback m_receiveCallback;
    ClientAuthentication m_clientAuthentication;
    ServerAuthentication m_serverAuthentication;
    std::shared_ptr<const LogCallback> m_logCallback;
};

} // namespace Quoll::Utilities
