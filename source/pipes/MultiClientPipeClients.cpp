// The outgoing clients of an endpoint; the rest stands in MultiClientPipe.cpp.
#include "Quoll/MultiClientPipe.h"

#include "Quoll/Synchronization.h"

#include "concurrency/ManualResetSignal.h"
#include "pipes/ClientContainer.h"
#include "pipes/PipeText.h"

#include <stdexcept>
#include <string>

namespace Quoll::Utilities
{

namespace
{

constexpr DWORD PAUSE_BETWEEN_OPENINGS = 2000;
constexpr std::uint32_t PAUSE_BETWEEN_LOOKS = 200;

} // namespace

MultiClientPipe::Container MultiClientPipe::GetClient(std::uint32_t id)
{
    const Locked lock(m_clientsLock);
    const auto found = m_clients.find(id);
    return found == m_clients.end() ? nullptr : found->second;
}

MultiClientPipe::Container MultiClientPipe::GetKnownClient(std::uint32_t id)
{
    if (auto container = GetClient(id))
    {
        return container;
    }
    throw std::runtime_error((id == m_defaultClientId ? "A default client with this ID " : "A client with this ID ") +
                             std::to_string(id) + " doesn't exist");
}

void MultiClientPipe::AddClient(std::uint32_t id, const WString& connectionString, bool makeDefault,
                                const DisconnectCallback& disconnect)
{
    if (connectionString.empty())
    {
        throw std::runtime_error("Cant create client: connection string is empty");
    }
    constexpr const char* IN_USE = "Cant create client: client with specified ID already exists";
    CheckIdIsFree(id, IN_USE);
    const auto container = std::make_shared<ClientContainer>();
    container->id = id;
    container->connectionString = connectionString;
    container->disconnectCallback = disconnect;
    InitNamedPipeClient(*container);
    FileClient(container, makeDefault, IN_USE);
}

void MultiClientPipe::AddClient(std::uint32_t id, const ConnectionStringCallback& connectionString, bool makeDefault,
                                const DisconnectCallback& disconnect)
{
    if (!connectionString)
    {
        throw std::runtime_error("Can't create client: UpdateClientName callback not set");
    }
    constexpr const char* IN_USE = "Can't create client: client with specified ID already exists";
    CheckIdIsFree(id, IN_USE);
    const auto container = std::make_shared<ClientContainer>();
    container->id = id;
    container->connectionString = connectionString();
    container->connectionStringCallback = connectionString;
    container->disconnectCallback = disconnect;
    InitNamedPipeClient(*container);
    FileClient(container, makeDefault, IN_USE);
}

void MultiClientPipe::CheckIdIsFree(std::uint32_t id, const char* inUse)
{
    if (GetClient(id))
    {
        throw std::runtime_error(inUse);
    }
}

// The opening took time: the id may be in use by now.
void MultiClientPipe::FileClient(const Container& container, bool makeDefault, const char* inUse)
{
    Locked lock(m_clientsLock);
    if (!m_clients.emplace(container->id, container).second)
    {
        throw std::runtime_error(inUse);
    }
    lock.Release();
    if (makeDefault)
    {
        SetDefaultClient(container->id);
    }
    m_clientAvailable->Set();
    DebugLogClient(container->id);
}

void MultiClientPipe::InitNamedPipeClient(ClientContainer& container)
{
    WString name = container.Get(&ClientContainer::connectionString);
    if (name.empty())
    {
        container.Set(&ClientContainer::client, std::shared_ptr<IAsyncNamedPipeClient>());
        return;
    }
    name = WithPipePrefix(name);
    container.Set(&ClientContainer::connectionString, name);
    const auto client = MakeClient(name);
    container.Set(&ClientContainer::client, client);
    client->Open(SharedHandle());
}

std::shared_ptr<IAsyncNamedPipeClient> MultiClientPipe::MakeClient(const WString& name)
{
    auto client = std::make_shared<AsyncNamedPipeClient>(name, m_timeout);
    client->SetEncoding(m_encoding);
    client->SetAuthenticatePipe([self = weak_from_this()](const SharedHandle& pipe, bool) {
        const auto endpoint = self.lock();
        return endpoint && endpoint->AuthenticateDestinationServer(pipe);
    });
    return client;
}

bool MultiClientPipe::AreConnectionStringsEqual(const WString& left, const WString& right)
{
    return !left.empty() && !right.empty() && WithPipePrefix(left) == WithPipePrefix(right);
}

bool MultiClientPipe::AuthenticateDestinationServer(const SharedHandle& pipe)
{
    Locked lock(m_callbacksLock);
    const auto authentication = m_clientAuthentication;
    lock.Release();
    return !authentication || authentication(pipe, false);
}

void MultiClientPipe::OnClientDropped(std::uint32_t id)
{
    if (id == NO_CLIENT)
    {
        return;
    }
    LogDropStep(0, id);
    const auto container = GetClient(id);
    const auto disconnect = container ? container->Get(&ClientContainer::disconnectCallback) : nullptr;
    if (!disconnect)
    {
        return;
    }
    LogDropStep(1, id);
    if (container->dropped.exchange(true))
    {
        return;
    }
    LogDropStep(2, id);
    container->Close();
    LogDropStep(3, id);
    std::uint32_t expected = id;
    m_defaultClientId.compare_exchange_strong(expected, NO_CLIENT);
    try
    {
        disconnect(id);
    }
    catch (...)
    {
        ReportException(*GetLog(), "[MultiClientPipe::OnClientDropped] Callback exception, clId:"_w + Number(id) +
                                       ", Exception msg: "_w);
    }
    LogDropStep(4, id);
    const Locked lock(m_clientsLock);
    const auto found = m_clients.find(id);
    if (found != m_clients.end() && found->second == container)
    {
        m_clients.erase(found);
    }
}

void MultiClientPipe::OnClientDroppedNoneMultiClient()
{
    Locked lock(m_clientsLock);
    const auto found = m_clients.find(m_defaultClientId);
    const auto container = found == m_clients.end() ? nullptr : found->second;
    m_defaultClientId = NO_CLIENT;
    lock.Release();
    if (container)
    {
        container->Close();
    }
}

void MultiClientPipe::AddParentClient(std::uint32_t id)
{
    Locked lock(m_clientsLock);
    const std::uint32_t old = m_defaultClientId;
    if (id == old)
    {
        return;
    }
    Container replaced;
    if (const auto parent = m_clients.find(old); parent != m_clients.end())
    {
        const Container container = parent->second;
        replaced = std::exchange(m_clients[id], container);
        container->dropped = false;
        container->id = id;
        // What stands under no id yet stays there as well.
        if (old != NO_CLIENT)
        {
            m_clients.erase(old);
        }
    }
    m_defaultClientId.exchange(id);
    lock.Release();
    if (replaced)
    {
        replaced->Close();
    }
}

void MultiClientPipe::ReconnectClient(std::uint32_t id)
{
    const auto container = GetClient(id);
    if (!container)
    {
        throw std::runtime_error("ReconnectClient: Can't find specified client");
    }
    bool changed = false;
    if (const auto getName = container->Get(&ClientContainer::connectionStringCallback))
    {
        const WString name = getName();
        if (!name.empty() && !AreConnectionStringsEqual(name, container->Get(&ClientContainer::connectionString)))
        {
            container->Set(&ClientContainer::connectionString, name);
            changed = true;
        }
    }
    container->Close();
    if (changed)
    {
        InitNamedPipeClient(*container);
    }
    const auto client = container->Get(&ClientContainer::client);
    if (!client)
    {
        throw std::runtime_error("ReconnectClient: The client has no connection string");
    }
    client->Open(SharedHandle());
}

void MultiClientPipe::RemoveClient(std::uint32_t id)
{
    Locked lock(m_clientsLock);
    const auto found = m_clients.find(id);
    if (found == m_clients.end())
    {
        return;
    }
    const Container container = found->second;
    m_clients.erase(found);
    std::uint32_t expected = id;
    m_defaultClientId.compare_exchange_strong(expected, NO_CLIENT);
    if (m_clients.empty())
    {
        m_clientAvailable->Reset();
    }
    lock.Release();
    container->Close();
}

void MultiClientPipe::SetDefaultClient(std::uint32_t id)
{
    m_defaultClientId = id;
}

std::uint32_t MultiClientPipe::GetDefaultClientId()
{
    return m_defaultClientId;
}

bool MultiClientPipe::IsClientAvailable()
{
    return WaitForClientAvailable(0);
}

bool MultiClientPipe::WaitForClientAvailable(std::uint32_t timeout)
{
    return m_clientAvailable->Wait(timeout);
}

std::uint32_t MultiClientPipe::WaitForClientDestinationPipe(const SharedHandle& stopEvent, SharedHandle& pipe)
{
    // Without limit, but for a stop.
    while (!WaitForClientAvailable(PAUSE_BETWEEN_LOOKS))
    {
        if (EventAccessControl::WaitOnEvent(stopEvent, 0))
        {
            return ERROR_BROKEN_PIPE;
        }
    }
    for (;;)
    {
        const std::uint32_t result = OpenDefaultClientPipe(pipe);
        if (result != ERROR_FILE_NOT_FOUND && result != ERROR_PIPE_BUSY)
        {
            return result;
        }
        switch (EventAccessControl::Wait(stopEvent, PAUSE_BETWEEN_OPENINGS))
        {
        case EventAccessControl::EventWaitResult::Signaled:
            return ERROR_BROKEN_PIPE;
        case EventAccessControl::EventWaitResult::TimedOut:
            break;
        case EventAccessControl::EventWaitResult::Failed: // no event to wait on
            ::Sleep(PAUSE_BETWEEN_OPENINGS);
            break;
        }
    }
}

std::uint32_t MultiClientPipe::OpenDefaultClientPipe(SharedHandle& pipe)
{
    const auto container = GetClient(m_defaultClientId);
    const WString name = container ? container->Get(&ClientContainer::connectionString) : WString();
    if (name.empty())
    {
        return ERROR_FILE_NOT_FOUND;
    }
    const HANDLE opened = OpenPipe(WithPipePrefix(name));
    if (opened == INVALID_HANDLE_VALUE)
    {
        return ::GetLastError();
    }
    SharedHandle candidate(opened);
    if (!AuthenticateDestinationServer(candidate))
    {
        pipe = SharedHandle();
        return ERROR_INVALID_EXE_SIGNATURE;
    }
    pipe = std::move(candidate);
    return ERROR_SUCCESS;
}

void MultiClientPipe::SetDisconnectCallback(std::uint32_t id, const DisconnectCallback& callback)
{
    GetKnownClient(id)->Set(&ClientContainer::disconnectCallback, callback);
}

WString MultiClientPipe::GetClientConnectionString(std::uint32_t id)
{
    return GetKnownClient(id)->Get(&ClientContainer::connectionString);
}

WString MultiClientPipe::GetPipeClientName(std::uint32_t id)
{
    return GetClientConnectionString(id);
}

std::list<std::uint32_t> MultiClientPipe::GetListOfClientIDs()
{
    const Locked lock(m_clientsLock);
    std::list<std::uint32_t> ids;
    for (const auto& [id, container] : m_clients)
    {
        ids.push_back(id);
    }
    return ids;
}

void MultiClientPipe::SetParentPipeName(const ConnectionStringCallback& callback)
{
    if (!callback)
    {
        return;
    }
    Locked lock(m_clientsLock);
    const std::uint32_t id = m_defaultClientId;
    auto& place = m_clients[id];
    if (!place)
    {
        place = std::make_shared<ClientContainer>();
        place->id = id; // its dropped flag is clear
    }
    const Container container = place;
    lock.Release();
    container->Set(&ClientContainer::connectionStringCallback, callback);
    const WString name = WithPipePrefix(callback());
    container->Set(&ClientContainer::connectionString, name);
    container->Set(&ClientContainer::client, MakeClient(name));
    m_clientAvailable->Set();
}

void MultiClientPipe::ReopenParentClient(const SharedHandle& pipe)
{
    const auto container = GetClient(m_defaultClientId);
    const auto client = container ? container->Get(&ClientContainer::client) : nullptr;
    if (!client)
    {
        throw std::runtime_error("ReopenParentClient: Can't find the default client");
    }
    client->Open(pipe);
}

int MultiClientPipe::GetClientIdByName(const WString& connectionString)
{
    const Locked lock(m_clientsLock);
    for (const auto& [id, container] : m_clients)
    {
        if (container->Get(&ClientContainer::connectionString) == connectionString)
        {
            return static_cast<int>(id);
        }
    }
    return -1;
}

} // namespace Quoll::Utilities
