// The accepting thread of a pipe server.
#include "Quoll/PipeServer.h"

#include "Quoll/Errors.h"
#include "Quoll/Synchronization.h"

#include "pipes/Locked.h"
#include "pipes/PipeText.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Quoll::Utilities
{

namespace
{

constexpr DWORD NO_SYSTEM_RESOURCES = 1450;
constexpr std::uint32_t FIRST_PAUSE = 10;
constexpr std::uint32_t LONGEST_PAUSE = 1000;

// The client came and went before it was served.
bool HasClientGone(DWORD error) noexcept
{
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
}

bool IsShortage(std::uint32_t error) noexcept
{
    return error == ERROR_TOO_MANY_OPEN_FILES || error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_PIPE_BUSY ||
           error == NO_SYSTEM_RESOURCES;
}

bool IsSet(const SharedHandle& event)
{
    return EventAccessControl::WaitOnEvent(event, 0);
}

// The record belongs to the platform until the connect has ended.
void WithdrawConnect(NamedPipeInstance& instance) noexcept
{
    if (instance.pipe.IsValid())
    {
        DWORD count = 0;
        ::CancelIoEx(instance.pipe.get(), instance.GetOverlapped());
        ::GetOverlappedResult(instance.pipe.get(), instance.GetOverlapped(), &count, TRUE);
    }
}

} // namespace

void MultiClientNamedPipeServer::WaitForConnections(const SharedHandle& stopEvent) noexcept
{
    const WString place = "[MultiClientNamedPipeServer::WaitForConnections] "_w;
    std::uint32_t pause = FIRST_PAUSE;
    for (;;)
    {
        try
        {
            ClearClosedConnections(false);
            if (IsSet(stopEvent) || !ServeNextClient(stopEvent))
            {
                return;
            }
            pause = FIRST_PAUSE;
            continue;
        }
        catch (const Win32Exception& exception)
        {
            ReportException(m_logCallback, place);
            if (!IsShortage(exception.GetErrorCode()))
            {
                return;
            }
        }
        catch (const std::system_error&) // no thread for the client
        {
            ReportException(m_logCallback, place);
        }
        catch (const std::bad_alloc&)
        {
            ReportException(m_logCallback, place);
        }
        catch (...)
        {
            ReportException(m_logCallback, place);
            return;
        }
        EventAccessControl::WaitOnEvent(stopEvent, pause);
        pause = std::min(2 * pause, LONGEST_PAUSE);
    }
}

// False once the server is to stop.
bool MultiClientNamedPipeServer::ServeNextClient(const SharedHandle& stopEvent)
{
    const auto instance = std::make_shared<NamedPipeInstance>();
    switch (AcceptClient(*instance, stopEvent))
    {
    case Accepted::Stopped:
        return false;
    case Accepted::Nobody:
        return true;
    case Accepted::Client:
        break;
    }
    if (!AuthenticateClient(instance->pipe))
    {
        return true;
    }
    if (IsSet(stopEvent))
    {
        return false;
    }
    AddActiveConnectionThread(instance);
    return true;
}

MultiClientNamedPipeServer::Accepted MultiClientNamedPipeServer::AcceptClient(NamedPipeInstance& instance,
                                                                              const SharedHandle& stopEvent)
{
    try
    {
        if (Connect(instance, stopEvent))
        {
            return Accepted::Client;
        }
    }
    catch (const Win32Exception& exception)
    {
        if (!HasClientGone(exception.GetErrorCode()))
        {
            throw;
        }
        Log("[MultiClientNamedPipeServer::Connect] The client has gone");
        return Accepted::Nobody;
    }
    if (IsSet(stopEvent))
    {
        WithdrawConnect(instance);
        return Accepted::Stopped;
    }
    return WaitForNewClient(instance, stopEvent);
}

// True: a client is there already. False: one is awaited, or the server is to stop.
bool MultiClientNamedPipeServer::Connect(NamedPipeInstance& instance, const SharedHandle& stopEvent)
{
    const Locked lock(m_lock);
    if (IsSet(stopEvent))
    {
        return false;
    }
    instance.pipe = CreatePipe();
    if (!instance.CreateIoEvent())
    {
        throw Win32Exception("Can't create the I/O event of a named pipe");
    }
    const BOOL connected = ::ConnectNamedPipe(instance.pipe.get(), instance.GetOverlapped());
    const DWORD error = connected ? ERROR_PIPE_CONNECTED : ::GetLastError();
    if (error == ERROR_PIPE_CONNECTED)
    {
        return true;
    }
    if (error != ERROR_IO_PENDING)
    {
        throw Win32Exception("can't connect to client: ", error);
    }
    return false;
}

SharedHandle MultiClientNamedPipeServer::CreatePipe()
{
    SECURITY_DESCRIPTOR descriptor{};
    SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), &descriptor, TRUE};
    if (m_openToEverybody && (!::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) ||
                              !::SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE)))
    {
        throw Win32Exception("Can't create named pipe");
    }
    const HANDLE pipe =
        ::CreateNamedPipeW(m_name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                           PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES,
                           m_bufferSize, m_bufferSize, m_timeout, m_openToEverybody ? &attributes : nullptr);
    if (pipe == INVALID_HANDLE_VALUE)
    {
        throw Win32Exception("Can't create named pipe");
    }
    return SharedHandle(pipe);
}

MultiClientNamedPipeServer::Accepted MultiClientNamedPipeServer::WaitForNewClient(NamedPipeInstance& instance,
                                                                                  const SharedHandle& stopEvent)
{
    const HANDLE events[] = {instance.ioEvent.get(), stopEvent.get()};
    const DWORD result = ::WaitForMultipleObjects(2, events, FALSE, INFINITE);
    if (result == WAIT_OBJECT_0)
    {
        ::ResetEvent(instance.ioEvent.get());
        DWORD count = 0;
        if (::GetOverlappedResult(instance.pipe.get(), instance.GetOverlapped(), &count, FALSE))
        {
            return Accepted::Client;
        }
        const DWORD error = ::GetLastError();
        if (HasClientGone(error))
        {
            Log("[MultiClientNamedPipeServer::WaitForNewClient] The client has gone");
            return Accepted::Nobody;
        }
        throw std::runtime_error("Error reading pending IO from named pipe while connecting. Error Code: " +
                                 std::to_string(error));
    }
    const DWORD error = ::GetLastError();
    WithdrawConnect(instance);
    if (result == WAIT_OBJECT_0 + 1)
    {
        return Accepted::Stopped;
    }
    throw Win32Exception("Wait on overlap event failed", error);
}

bool MultiClientNamedPipeServer::AuthenticateClient(const SharedHandle& pipe) noexcept
{
    Locked lock(m_lock);
    const auto authentication = m_authentication;
    lock.Release();
    if (!*authentication)
    {
        return true;
    }
    Locked activeLock(m_activeLock);
    const std::uint32_t id = m_nextId;
    activeLock.Release();
    try
    {
        return (*authentication)(pipe, true, id);
    }
    catch (...)
    {
        ReportException(m_logCallback,
                        "[MultiClientNamedPipeServer::AuthenticateClient] Callback exception, Exception msg: "_w);
        return false;
    }
}

} // namespace Quoll::Utilities
