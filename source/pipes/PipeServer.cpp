// The server's life and its connections; how it accepts them stands in PipeServerAccept.cpp.
#include "Quoll/PipeServer.h"

#include "Quoll/Errors.h"
#include "Quoll/Synchronization.h"

#include "pipes/Locked.h"
#include "pipes/PipeText.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

constexpr std::uint32_t FIRST_CONNECTION = 0x7FFFFFFF; // stands for whichever connection is first

} // namespace

IMultiClientNamedPipeServer::~IMultiClientNamedPipeServer() = default;

MultiClientNamedPipeServer::MultiClientNamedPipeServer(const WString& name, MessageCallback messageCallback,
                                                       NamedPipeMessageEncoding encoding, std::uint32_t timeout,
                                                       std::uint32_t bufferSize, bool openToEverybody,
                                                       DroppedCallback droppedCallback, LogCallback logCallback)
    : m_authentication(std::make_shared<const AuthenticationCallback>())
    , m_openToEverybody(openToEverybody)
    , m_name(name)
    , m_timeout(timeout)
    , m_bufferSize(bufferSize)
    , m_encoding(encoding)
    , m_messageCallback(std::make_shared<const MessageCallback>(std::move(messageCallback)))
    , m_droppedCallback(std::move(droppedCallback))
    , m_logCallback(std::move(logCallback))
{
}

// The accepting thread holds a reference of its own; the pointer that is handed out stops the
// server when its last copy goes.
std::shared_ptr<MultiClientNamedPipeServer>
MultiClientNamedPipeServer::Create(const WString& name, MessageCallback messageCallback,
                                   NamedPipeMessageEncoding encoding, std::uint32_t timeout, std::uint32_t bufferSize,
                                   bool openToEverybody, DroppedCallback droppedCallback, LogCallback logCallback)
{
    std::shared_ptr<MultiClientNamedPipeServer> server(
        new MultiClientNamedPipeServer(name, std::move(messageCallback), encoding, timeout, bufferSize, openToEverybody,
                                       std::move(droppedCallback), std::move(logCallback)));
    auto* const address = server.get();
    return {address, [owner = std::move(server)](MultiClientNamedPipeServer*) mutable {
                owner->Stop();
                owner.reset();
            }};
}

MultiClientNamedPipeServer::~MultiClientNamedPipeServer()
{
    MultiClientNamedPipeServer::Stop();
}

void MultiClientNamedPipeServer::Start(const AuthenticationCallback& authentication)
{
    const Locked lock(m_lock);
    if (m_stopEvent.IsValid())
    {
        return;
    }
    auto stopEvent = EventAccessControl::CreateLocalEvent(true, false);
    if (!stopEvent.IsValid())
    {
        throw Win32Exception("Can't create the stop event of a named pipe server");
    }
    m_authentication = std::make_shared<const AuthenticationCallback>(authentication);
    m_thread =
        std::make_unique<std::thread>([self = shared_from_this(), stopEvent] { self->WaitForConnections(stopEvent); });
    m_stopEvent = std::move(stopEvent);
}

void MultiClientNamedPipeServer::Stop()
{
    Locked lock(m_lock);
    if (!m_stopEvent.IsValid() || m_stopping)
    {
        return;
    }
    m_stopping = true;
    EventAccessControl::SetEvent(m_stopEvent);
    const auto thread = std::move(m_thread);
    lock.Release();

    StopObserverThread(*thread);
    Log("[MultiClientNamedPipeServer::Stop] Step 0");
    ClearActiveConnections();
    Log("[MultiClientNamedPipeServer::Stop] Step 1");
    ClearClosedConnections(true);

    const Locked done(m_lock);
    m_stopEvent = SharedHandle();
    m_stopping = false;
}

// The thread itself withdraws its pending connect when it sees the stop event.
void MultiClientNamedPipeServer::StopObserverThread(std::thread& thread)
{
    if (thread.get_id() == std::this_thread::get_id())
    {
        thread.detach(); // a stop from the authentication callback; the thread ends behind it
        return;
    }
    thread.join();
}

void MultiClientNamedPipeServer::SetReceiveCallBack(const MessageCallback& callback)
{
    auto replacement = std::make_shared<const MessageCallback>(callback);
    const Locked lock(m_lock);
    m_messageCallback.swap(replacement);
}

WString MultiClientNamedPipeServer::GetPipeName()
{
    return m_name;
}

bool MultiClientNamedPipeServer::IsStarted()
{
    const Locked lock(m_lock);
    return m_stopEvent.IsValid();
}

void MultiClientNamedPipeServer::AddActiveConnectionThread(const std::shared_ptr<NamedPipeInstance>& instance)
{
    Locked serverLock(m_lock);
    const auto callback = m_messageCallback;
    serverLock.Release();

    const auto self = weak_from_this();
    ActiveNamedPipeServerConnection::MessageCallback answer;
    if (*callback)
    {
        answer = [self, callback](std::uint32_t id, const WString& message) {
            const auto server = self.lock();
            return server ? server->CallMessageReceivedCallback(*callback, id, message) : WString();
        };
    }
    const auto dropped = [self](std::uint32_t id) {
        if (const auto server = self.lock())
        {
            server->CallClientDroppedCallback(id);
        }
    };
    const Locked lock(m_activeLock);
    m_active.push_back(ActiveNamedPipeServerConnection::Create(m_nextId, instance, m_timeout, m_bufferSize, m_encoding,
                                                               std::move(answer), dropped, m_logCallback));
    m_nextId += m_nextId == FIRST_CONNECTION - 1 ? 2 : 1;
    try
    {
        m_active.back()->Start();
    }
    catch (...)
    {
        m_active.pop_back();
        throw;
    }
}

WString MultiClientNamedPipeServer::CallMessageReceivedCallback(const MessageCallback& callback, std::uint32_t id,
                                                                const WString& message)
{
    return callback(id, message);
}

void MultiClientNamedPipeServer::CallClientDroppedCallback(std::uint32_t id)
{
    RemoveActiveConnection(id);
    if (m_droppedCallback)
    {
        m_droppedCallback(id);
    }
}

bool MultiClientNamedPipeServer::RemoveActiveConnection(std::uint32_t id)
{
    const Locked activeLock(m_activeLock);
    const auto found = std::find_if(m_active.begin(), m_active.end(), [id](const Connection& connection) {
        return id == FIRST_CONNECTION || static_cast<std::uint32_t>(connection->GetId()) == id;
    });
    if (found == m_active.end())
    {
        return false;
    }
    const Locked closedLock(m_closedLock);
    m_closed.splice(m_closed.end(), m_active, found);
    return true;
}

void MultiClientNamedPipeServer::ClearActiveConnections()
{
    while (RemoveActiveConnection(FIRST_CONNECTION))
    {
    }
}

// The accepting thread doesn't wait for a thread that still runs: a callback there may be waiting
// for the accepting thread.
void MultiClientNamedPipeServer::ClearClosedConnections(bool waitForThreads)
{
    std::list<Connection> closed;
    {
        const Locked lock(m_closedLock);
        closed.swap(m_closed);
    }
    for (auto entry = closed.begin(); entry != closed.end();)
    {
        const auto current = entry++;
        if (!waitForThreads && !(*current)->HasEnded())
        {
            (*current)->RequestStop();
            const Locked lock(m_closedLock);
            m_closed.splice(m_closed.end(), closed, current);
            continue;
        }
        (*current)->Stop();
        if (m_logCallback)
        {
            WriteLog(m_logCallback, "[MultiClientNamedPipeServer::ClearClosedConnections] Stopped, clId:"_w +
                                        Number(static_cast<std::uint32_t>((*current)->GetId())));
        }
    }
}

void MultiClientNamedPipeServer::Log(const char* text) const
{
    if (m_logCallback)
    {
        WriteLog(m_logCallback, Widen(text));
    }
}

} // namespace Quoll::Utilities
