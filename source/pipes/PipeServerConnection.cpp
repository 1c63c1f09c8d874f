// The life of a server connection; how it talks stands in PipeServerConnectionIo.cpp.
#include "Quoll/PipeServerConnection.h"

#include "Quoll/Synchronization.h"

#include "pipes/KeptWrites.h"
#include "pipes/Locked.h"
#include "pipes/PipeText.h"

#include <stdexcept>
#include <system_error>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

void JoinOrDetach(std::thread& thread)
{
    try
    {
        if (thread.get_id() == std::this_thread::get_id())
        {
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        }
        thread.join();
    }
    catch (const std::system_error& exception)
    {
        thread.detach(); // it holds a reference to its connection
        WriteDebug("Exception while stopping connection thread "_w + Widen(exception.what()) + "\r\n"_w);
    }
}

} // namespace

IActiveNamedPipeServerConnection::IActiveNamedPipeServerConnection() = default;
IActiveNamedPipeServerConnection::IActiveNamedPipeServerConnection(const IActiveNamedPipeServerConnection&) = default;
IActiveNamedPipeServerConnection&
IActiveNamedPipeServerConnection::operator=(const IActiveNamedPipeServerConnection&) = default;
IActiveNamedPipeServerConnection::~IActiveNamedPipeServerConnection() = default;

ActiveNamedPipeServerConnection::ActiveNamedPipeServerConnection(
    std::uint32_t id, std::shared_ptr<NamedPipeInstance> instance, std::uint32_t timeout, std::uint32_t bufferSize,
    NamedPipeMessageEncoding encoding, MessageCallback messageCallback, DroppedCallback droppedCallback,
    LogCallback logCallback)
    : m_id(id)
    , m_timeout(timeout)
    , m_bufferSize(bufferSize)
    , m_encoding(encoding)
    , m_instance(std::move(instance))
    , m_messageCallback(std::move(messageCallback))
    , m_droppedCallback(std::move(droppedCallback))
    , m_stopEvent(EventAccessControl::CreateLocalEvent(true, false))
    , m_logCallback(std::move(logCallback))
    , m_keptWrites(std::make_unique<KeptWrites>())
{
    if (!m_stopEvent.IsValid())
    {
        throw std::runtime_error("ActiveNamedPipeServerConnection: Failed to create stop event.");
    }
}

// The thread holds a reference of its own; the pointer that is handed out ends the thread when its
// last copy goes.
std::shared_ptr<ActiveNamedPipeServerConnection>
ActiveNamedPipeServerConnection::Create(std::uint32_t id, std::shared_ptr<NamedPipeInstance> instance,
                                        std::uint32_t timeout, std::uint32_t bufferSize,
                                        NamedPipeMessageEncoding encoding, MessageCallback messageCallback,
                                        DroppedCallback droppedCallback, LogCallback logCallback)
{
    std::shared_ptr<ActiveNamedPipeServerConnection> connection(new ActiveNamedPipeServerConnection(
        id, std::move(instance), timeout, bufferSize, encoding, std::move(messageCallback), std::move(droppedCallback),
        std::move(logCallback)));
    auto* const address = connection.get();
    return {address, [owner = std::move(connection)](ActiveNamedPipeServerConnection*) mutable {
                owner->Finish();
                owner.reset();
            }};
}

ActiveNamedPipeServerConnection::~ActiveNamedPipeServerConnection()
{
    Finish();
    Disconnect();
}

void ActiveNamedPipeServerConnection::Start()
{
    Locked lock(m_stateLock);
    if (m_running || m_stopping)
    {
        return;
    }
    if (m_thread)
    {
        // The client of an earlier start has gone; its thread may be in the last callback still.
        const auto finished = std::move(m_thread);
        m_stopping = true;
        lock.Release();
        JoinOrDetach(*finished);
        const Locked again(m_stateLock);
        m_stopping = false;
    }
    const Locked starting(m_stateLock);
    if (m_running || m_thread)
    {
        return;
    }
    m_running = true;
    m_ended = false;
    try
    {
        m_thread = std::make_unique<std::thread>([self = shared_from_this()] { self->ReceiveData(); });
    }
    catch (...)
    {
        m_running = false;
        throw;
    }
}

void ActiveNamedPipeServerConnection::Stop()
{
    Locked lock(m_stateLock);
    if (!m_running.exchange(false))
    {
        return;
    }
    m_stopping = true;
    EventAccessControl::SetEvent(m_stopEvent);
    const auto thread = std::move(m_thread);
    lock.Release();
    if (thread)
    {
        JoinOrDetach(*thread);
    }
    Disconnect();
    const Locked done(m_stateLock);
    m_stopping = false;
}

void ActiveNamedPipeServerConnection::RequestStop()
{
    const Locked lock(m_stateLock);
    m_running = false;
    EventAccessControl::SetEvent(m_stopEvent);
}

void ActiveNamedPipeServerConnection::Finish()
{
    RequestStop();
    Locked lock(m_stateLock);
    const auto thread = std::move(m_thread);
    lock.Release();
    if (!thread)
    {
        return;
    }
    if (thread->get_id() == std::this_thread::get_id())
    {
        thread->detach(); // the last reference went in a callback, or with the thread itself
        return;
    }
    JoinOrDetach(*thread);
    Disconnect();
}

void ActiveNamedPipeServerConnection::Disconnect() noexcept
{
    if (m_instance && m_instance->pipe.IsValid())
    {
        ::DisconnectNamedPipe(m_instance->pipe.get());
    }
}

bool ActiveNamedPipeServerConnection::IsRunning()
{
    return m_running;
}

int ActiveNamedPipeServerConnection::GetId()
{
    return static_cast<int>(m_id);
}

bool ActiveNamedPipeServerConnection::HasEnded() const
{
    return m_ended;
}

} // namespace Quoll::Utilities
