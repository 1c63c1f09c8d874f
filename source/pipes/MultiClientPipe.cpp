// The endpoint's life, its server side and what it writes; its clients stand in
// MultiClientPipeClients.cpp.
#include "Quoll/MultiClientPipe.h"

#include "Quoll/Errors.h"

#include "concurrency/AwaitedTasks.h"
#include "concurrency/ManualResetSignal.h"
#include "pipes/ClientContainer.h"
#include "pipes/PipeText.h"

#include <exception>
#include <stdexcept>
#include <string>

namespace Quoll::Utilities
{

using Communication::ClosedConnectionException;

IMultiClientPipe::~IMultiClientPipe() = default;

MultiClientPipe::MultiClientPipe(const WString& pipeServerName, NamedPipeMessageEncoding encoding,
                                 std::uint32_t timeout, std::uint32_t bufferSize, bool openToEverybody)
    : m_pipeServerName(pipeServerName)
    , m_encoding(encoding)
    , m_timeout(timeout)
    , m_bufferSize(bufferSize)
    , m_openToEverybody(openToEverybody)
    , m_clientAvailable(std::make_unique<ManualResetSignal>())
    , m_logCallback(std::make_shared<const LogCallback>())
{
}

std::shared_ptr<MultiClientPipe> MultiClientPipe::Create(const WString& pipeServerName,
                                                         NamedPipeMessageEncoding encoding, std::uint32_t timeout,
                                                         std::uint32_t bufferSize, bool openToEverybody)
{
    return std::shared_ptr<MultiClientPipe>(
        new MultiClientPipe(pipeServerName, encoding, timeout, bufferSize, openToEverybody));
}

MultiClientPipe::~MultiClientPipe()
{
    MultiClientPipe::Stop();
}

void MultiClientPipe::Start(const ClientAuthentication& clientAuthentication,
                            const ServerAuthentication& serverAuthentication, const LogCallback& log)
{
    const auto onDropped = [self = weak_from_this()](std::uint32_t id) {
        if (const auto pipe = self.lock())
        {
            pipe->OnClientDropped(id);
        }
    };
    Locked lock(m_callbacksLock);
    if (m_server)
    {
        return;
    }
    m_clientAuthentication = clientAuthentication;
    m_serverAuthentication = serverAuthentication;
    m_logCallback = std::make_shared<const LogCallback>(log);
    auto server = MultiClientNamedPipeServer::Create(m_pipeServerName, BindReceiver(), m_encoding, m_timeout,
                                                     m_bufferSize, m_openToEverybody, onDropped, log);
    server->Start(serverAuthentication);
    m_server = std::move(server);
    lock.Release();
    Log("[MultiClientPipe] Started"_w);
}

void MultiClientPipe::Stop()
{
    Locked lock(m_callbacksLock);
    const auto server = std::exchange(m_server, nullptr);
    lock.Release();
    if (server)
    {
        server->Stop();
    }
    Locked clientsLock(m_clientsLock);
    const auto clients = std::exchange(m_clients, {});
    clientsLock.Release();
    for (const auto& [id, container] : clients)
    {
        container->Close();
    }
}

void MultiClientPipe::PrepareStop()
{
    m_stopPrepared = true;
}

void MultiClientPipe::RegisterReceiveCallback(const ReceiveCallback& callback)
{
    if (!callback)
    {
        throw std::runtime_error("The callback function shouldn't be null");
    }
    const Locked lock(m_callbacksLock);
    m_receiveCallback = callback;
    if (m_server)
    {
        m_server->SetReceiveCallBack(BindReceiver());
    }
}

// Under the lock of the callbacks. The bound form keeps the callback that stands now.
IMultiClientNamedPipeServer::MessageCallback MultiClientPipe::BindReceiver()
{
    if (!m_receiveCallback)
    {
        return {};
    }
    return [self = weak_from_this(), callback = m_receiveCallback](std::uint32_t id, const WString& message) {
        if (const auto pipe = self.lock())
        {
            pipe->Receive(callback, id, message);
        }
        return WString();
    };
}

void MultiClientPipe::Receive(const ReceiveCallback& callback, std::uint32_t id, const WString& message)
{
    DebugLogMessage("Receive", id);
    try
    {
        callback(id, message);
    }
    catch (const std::exception&)
    {
        const auto log = GetLog();
        ReportException(*log, "[MultiClientPipe] Receive exception (Client "_w + Number(id) + "): "_w);
        return;
    }
    DebugLogMessage("Receive completed", id);
}

void MultiClientPipe::WriteMessage(const WString& message)
{
    const auto ids = GetListOfClientIDs();
    Log("[MultiClientPipe] Write all clients"_w);
    Log("[MultiClientPipe] Clients size "_w + Number(static_cast<std::uint32_t>(ids.size())));
    std::exception_ptr first;
    for (const std::uint32_t id : ids)
    {
        try
        {
            WriteMessage(id, message, true);
        }
        catch (...)
        {
            if (!first)
            {
                first = std::current_exception();
            }
        }
    }
    if (first)
    {
        std::rethrow_exception(first);
    }
}

void MultiClientPipe::WriteMessage(std::uint32_t id, const WString& message, bool wait)
{
    const auto container = GetClient(id);
    if (!container)
    {
        throw ClosedConnectionException("WriteMessage: Can't find specified client. clId = " + std::to_string(id));
    }
    const auto client = container->Get(&ClientContainer::client);
    if (!client)
    {
        throw ClosedConnectionException("WriteMessage: Specified client is nullptr");
    }
    DebugLogMessage("Write", id);
    const auto fail = [this, id](const std::exception& exception) {
        DebugLogMessage("Write exception", id);
        throw ClosedConnectionException("WriteMessage: Can't find specified client, clId = " + std::to_string(id) +
                                        ", " + exception.what());
    };
    try
    {
        const AwaitedTasks awaited;
        client->WriteMessage(message, wait).get();
    }
    catch (const Win32Exception& exception)
    {
        OnClientDropped(id);
        fail(exception);
    }
    catch (const std::exception& exception)
    {
        fail(exception); // late, or no text to send: the pipe stands
    }
}

WString MultiClientPipe::GetPipeServerName()
{
    return m_pipeServerName;
}

std::shared_ptr<const IMultiClientPipe::LogCallback> MultiClientPipe::GetLog()
{
    const Locked lock(m_callbacksLock);
    return m_logCallback;
}

void MultiClientPipe::Log(const WString& line)
{
    WriteLog(*GetLog(), line);
}

void MultiClientPipe::LogDropStep(std::uint32_t step, std::uint32_t id)
{
    const auto log = GetLog();
    if (*log)
    {
        WriteLog(*log, "[MultiClientPipe::OnClientDropped] Step "_w + Number(step) + ", clId:"_w + Number(id));
    }
}

void MultiClientPipe::DebugLogClient(std::uint32_t id)
{
    const auto log = GetLog();
    if (!*log)
    {
        return;
    }
    const auto container = GetClient(id);
    WString line = id == m_defaultClientId ? "[Default "_w : "["_w;
    line += container ? "Client]: "_w + container->Get(&ClientContainer::connectionString)
                      : WString("Client]: Not found"_w);
    WriteLog(*log, line);
}

void MultiClientPipe::DebugLogMessage(const char* action, std::uint32_t id)
{
    const auto log = GetLog();
    if (*log)
    {
        const WString client =
            id == m_defaultClientId ? WString("(Default client)"_w) : "(Client "_w + Number(id) + ")"_w;
        WriteLog(*log, "[MultiClientPipe] "_w + Widen(action) + " (Server: "_w + m_pipeServerName + ") "_w + client);
    }
}

} // namespace Quoll::Utilities
