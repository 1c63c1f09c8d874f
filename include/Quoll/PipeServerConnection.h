// One connected client of a pipe server, served by a thread of its own.
//
// The thread reads a message, hands it to the message callback and writes the callback's answer
// back, one request at a time, until the client goes or the connection is stopped. An empty message
// is ignored; an empty answer sends nothing.
//
// Threads:   all callbacks run on the connection's thread. Start, Stop and the accessors may be
//            called from any thread. Stop from a callback of the same connection can't wait for its
//            own thread: that is reported to the debugger, the thread ends once the callback has
//            returned, and the rest of the stop is done.
// Drops:     a client that goes is reported to the dropped callback once; a stop that the owner asked
//            for isn't reported. What a callback throws is logged and sent to the debugger, and the
//            connection is dropped.
// Ownership: the object shares the pipe instance. When the last reference from outside goes, the
//            connection is stopped and its pipe disconnected.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/Locks.h"
#include "Quoll/PipeFraming.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/WideString.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <thread>

namespace Quoll::Utilities
{

class AsyncIOBuffer;
class KeptWrites;
struct PipeWrite;

/// A connection of a pipe server.
class QUOLL_API IActiveNamedPipeServerConnection
{
public:
    IActiveNamedPipeServerConnection();
    /// Nothing to copy.
    IActiveNamedPipeServerConnection(const IActiveNamedPipeServerConnection& other);
    /// Nothing to copy.
    IActiveNamedPipeServerConnection& operator=(const IActiveNamedPipeServerConnection& other);
    virtual ~IActiveNamedPipeServerConnection();

    /// Starts the thread; does nothing while the connection is running. Throws std::system_error if
    /// there is no thread to be had.
    virtual void Start() = 0;

    /// Ends the thread and disconnects the pipe: what is unread is lost, a read in progress is
    /// abandoned. Waits for the callback that is running, if any. Does nothing if the connection
    /// isn't running.
    virtual void Stop() = 0;

    /// Whether messages are served: from Start until Stop or the loss of the client.
    virtual bool IsRunning() = 0;

    /// The number that the server gave to this connection.
    virtual int GetId() = 0;
};

/// The connection of MultiClientNamedPipeServer.
class QUOLL_API ActiveNamedPipeServerConnection : public IActiveNamedPipeServerConnection,
                                                  public std::enable_shared_from_this<ActiveNamedPipeServerConnection>
{
public:
    /// Takes the connection's id and a message, gives the answer; empty: no answer.
    using MessageCallback = std::function<WString(std::uint32_t id, const WString& message)>;
    /// Takes the id of a connection whose client has gone.
    using DroppedCallback = std::function<void(std::uint32_t id)>;
    /// Takes one line, without line end.
    using LogCallback = std::function<void(const WString& line)>;

    /// Makes a connection, not started, on an instance to which a client is connected.
    ///
    /// `timeout` (milliseconds) is kept and not used: a read waits without limit, an answer 10
    /// seconds. `bufferSize` counts units of the encoding; 0 works as 1. Each callback may be empty.
    /// Throws std::runtime_error if there is no stop event to be had.
    static std::shared_ptr<ActiveNamedPipeServerConnection>
    Create(std::uint32_t id, std::shared_ptr<NamedPipeInstance> instance, std::uint32_t timeout,
           std::uint32_t bufferSize, NamedPipeMessageEncoding encoding, MessageCallback messageCallback,
           DroppedCallback droppedCallback, LogCallback logCallback);

    ActiveNamedPipeServerConnection(const ActiveNamedPipeServerConnection&) = delete;
    ActiveNamedPipeServerConnection& operator=(const ActiveNamedPipeServerConnection&) = delete;
    ~ActiveNamedPipeServerConnection() override;

    void Start() override;
    void Stop() override;
    bool IsRunning() override;
    int GetId() override;

    /// Asks the thread to end and doesn't wait for it.
    void RequestStop();
    /// Whether the thread, started once, has done all its work.
    bool HasEnded() const;

protected:
    /// For Create.
    ActiveNamedPipeServerConnection(std::uint32_t id, std::shared_ptr<NamedPipeInstance> instance,
                                    std::uint32_t timeout, std::uint32_t bufferSize, NamedPipeMessageEncoding encoding,
                                    MessageCallback messageCallback, DroppedCallback droppedCallback,
                                    LogCallback logCallback);

    void ReceiveData();                            ///< The thread's body.
    bool ReadData(WString& message);               ///< One guarded read; a lost client is reported.
    bool TryReadData(WString& message);            ///< One message from the pipe; false: gone or stopped.
    void Respond(const WString& message);          ///< One guarded write; a lost client is reported.
    bool WriteData(const WString& message);        ///< One message to the pipe; false: gone, stopped or late.
    bool WaitForOverlapped(std::uint32_t timeout); ///< For the I/O event; false: stop or time-out.
    void CancelIO();                               ///< Ends the pending operation and waits until it has ended.

private:
    void Finish();
    void DropClient() noexcept;
    void ReportDrop() noexcept;
    void Disconnect() noexcept;
    bool EndRead(std::uint32_t error);
    void AbandonWrite(std::list<PipeWrite>& write) noexcept;
    void RenewInstance() noexcept;
    WString LogLine(const char* place, int step) const;
    void Log(const char* place, int step) const;
    void LogError(const char* place, int step, std::uint32_t error) const;
    void LogText(const char* place, int step, const char* label, const WString& text) const;

    const std::uint32_t m_id;
    std::atomic<bool> m_running{false};
    CriticalSection m_ioLock;
    std::unique_ptr<std::thread> m_thread;
    [[maybe_unused]] const std::uint32_t m_timeout;
    const std::uint32_t m_bufferSize;
    const NamedPipeMessageEncoding m_encoding;
    std::shared_ptr<NamedPipeInstance> m_instance;
    const MessageCallback m_messageCallback;
    const DroppedCallback m_droppedCallback;
    CriticalSection m_stateLock;
    bool m_stopping = false;
    SharedHandle m_stopEvent;
    const LogCallback m_logCallback;
    std::atomic<bool> m_dropReported{false};
    std::atomic<bool> m_ended{false};
    std::unique_ptr<AsyncIOBuffer> m_readBuffer; // under the I/O lock; made at the first read
    std::unique_ptr<KeptWrites> m_keptWrites;
};

} // namespace Quoll::Utilities
