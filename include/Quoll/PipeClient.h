// The client's end of a message pipe.
//
//     AsyncNamedPipeClient client("\\\\.\\pipe\\echo"_w, 0);
//     client.Open(SharedHandle());
//     client.WriteMessageSync("hello"_w, true);
//     const WString answer = client.ReadMessageSync();
//
// Threads:  all operations may be called from any thread. One lock serialises opening, reading,
//           writing and closing: a read in flight blocks a write, and Close, until the read ends or
//           its time-out passes; Close ends the wait of a write in flight. The tasks run on the process's pool (see
//           Task.h); they may outlive the client and fail then.
// Failures: what a blocking form throws, the task's get() throws. After a failure the pipe stays as it
//           is; Close and Open again to reconnect. The client never reconnects by itself.
// Time-outs are in milliseconds; 0xFFFFFFFF is without limit.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/PipeFraming.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/Task.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace Quoll::Utilities
{

/// A client of a named pipe.
class QUOLL_API IAsyncNamedPipeClient
{
public:
    /// Judges the server: the client's end of the pipe, and false. PipePeer tells who it is.
    using AuthenticationCallback = std::function<bool(const SharedHandle& pipe, bool server)>;

    static constexpr unsigned int DEFAULT_TIMEOUT = 5000; ///< Of reads and writes, in milliseconds.

    IAsyncNamedPipeClient() = default;
    IAsyncNamedPipeClient(const IAsyncNamedPipeClient&) = delete;
    IAsyncNamedPipeClient& operator=(const IAsyncNamedPipeClient&) = delete;
    virtual ~IAsyncNamedPipeClient();

    /// Writes one message.
    ///
    /// With `wait` the task ends when the server's end has taken the message, and fails when the
    /// time-out passes before. Without, it ends at once: the write goes on alone until it is done or
    /// the pipe is closed, and nobody hears how it ended. The memory that such writes hold is bounded
    /// by nothing but the caller; their tasks run on the pool's threads only.
    virtual Task<void> WriteMessage(const WString& message, bool wait) = 0;

    /// Reads one message, of any length.
    virtual Task<WString> ReadMessage() = 0;

    /// The encoding of messages in both directions.
    virtual NamedPipeMessageEncoding GetEncoding() = 0;
    /// Holds for operations that begin later.
    virtual void SetEncoding(NamedPipeMessageEncoding encoding) = 0;

    /// The time-out of reads, writes and waits for a free instance.
    virtual unsigned int GetTimeout() = 0;
    /// Holds for operations that begin later.
    virtual void SetTimeout(unsigned int timeout) = 0;

    /// Opens the pipe, unless it is open.
    ///
    /// A valid `pipe` is adopted as it is, without authentication; nothing is opened then. Else up
    /// to five attempts are made, with a pause of 200 milliseconds after each that finds no pipe or no
    /// free instance within the time-out. Throws Win32Exception if none succeeds, at once on an error
    /// other than these two, and with code 191 if the authentication callback refuses the server.
    /// What that callback throws comes out as well.
    virtual void Open(const SharedHandle& pipe) = 0;

    /// Cancels what is pending and closes the pipe. Doesn't wait for a server that doesn't read.
    virtual void Close() = 0;

    /// Whether a pipe is open. The loss of the server shows at the next read or write only.
    virtual bool IsInitialized() = 0;

    /// Sets what judges the server at later openings; empty admits every server.
    virtual void SetAuthenticatePipe(const AuthenticationCallback& callback) = 0;
};

struct ClientPipeInstance;

/// The client, with tasks and blocking forms.
class QUOLL_API AsyncNamedPipeClient : public IAsyncNamedPipeClient
{
public:
    /// Units of the encoding that one read takes; longer messages take several reads.
    static constexpr std::uint32_t MAX_MESSAGE_SIZE = 4096;
    /// How often Open tries.
    static constexpr std::uint32_t MAX_ATTEMPTS_COUNT = 5;

    /// Keeps the name, which is passed to the platform as it is, and doesn't connect. The encoding is
    /// Utf8. A time-out of 0 means DEFAULT_TIMEOUT. Throws std::runtime_error for an empty name.
    AsyncNamedPipeClient(const WString& name, unsigned int timeout);
    ~AsyncNamedPipeClient() override; ///< Closes the pipe.

    Task<void> WriteMessage(const WString& message, bool wait) override;
    Task<WString> ReadMessage() override;
    NamedPipeMessageEncoding GetEncoding() override;
    void SetEncoding(NamedPipeMessageEncoding encoding) override;
    unsigned int GetTimeout() override;
    void SetTimeout(unsigned int timeout) override;
    void Open(const SharedHandle& pipe) override;
    void Close() override;
    bool IsInitialized() override;
    void SetAuthenticatePipe(const AuthenticationCallback& callback) override;

    /// Reads one message on this thread.
    ///
    /// Throws std::runtime_error if a part of it doesn't come within the time-out, Win32Exception if
    /// the pipe isn't open, its server has gone or the read fails otherwise.
    WString ReadMessageSync();

    /// Writes one message on this thread; see WriteMessage about `wait`. On Windows a write that
    /// isn't waited for ends with the thread that began it.
    ///
    /// Throws std::runtime_error if the message isn't taken within the time-out (what the server has
    /// read a part of reaches it whole all the same), Win32Exception if the pipe isn't open, its
    /// server has gone or the write fails otherwise, ConversionException if the text can't be
    /// encoded.
    void WriteMessageSync(const WString& message, bool wait);

protected:
    void Init(const SharedHandle& pipe);  ///< Open, whether the pipe is open or not.
    bool OpenNamedPipe();                 ///< One attempt; false, with the last error: try again.
    bool AuthenticateDestinationServer(); ///< Whether the server that was opened is accepted.

private:
    void Cancel();

    AuthenticationCallback m_authentication; // under the instance's lock
    std::shared_ptr<ClientPipeInstance> m_instance;
    const WString m_name;
};

} // namespace Quoll::Utilities
