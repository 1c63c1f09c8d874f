#include "Quoll/PipeClient.h"

#include "Quoll/Errors.h"

#include "pipes/ClientPipeInstance.h"
#include "pipes/Locked.h"
#include "pipes/PipeText.h"

#include <stdexcept>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

constexpr DWORD PAUSE_BETWEEN_ATTEMPTS = 200;

} // namespace

IAsyncNamedPipeClient::~IAsyncNamedPipeClient() = default;

AsyncNamedPipeClient::AsyncNamedPipeClient(const WString& name, unsigned int timeout)
    : m_name(name)
{
    if (name.empty())
    {
        throw std::runtime_error("Named pipe name should not be empty");
    }
    m_instance = std::make_shared<ClientPipeInstance>(timeout == 0 ? DEFAULT_TIMEOUT : timeout);
}

AsyncNamedPipeClient::~AsyncNamedPipeClient()
{
    if (m_instance)
    {
        AsyncNamedPipeClient::Close();
    }
}

Task<void> AsyncNamedPipeClient::WriteMessage(const WString& message, bool wait)
{
    return TaskScheduler::Run([instance = m_instance, message, wait] { instance->Write(message, wait); },
                              wait ? TaskPlacement::Anywhere : TaskPlacement::Pool);
}

Task<WString> AsyncNamedPipeClient::ReadMessage()
{
    return TaskScheduler::Run([instance = m_instance] { return instance->Read(); });
}

WString AsyncNamedPipeClient::ReadMessageSync()
{
    return m_instance->Read();
}

void AsyncNamedPipeClient::WriteMessageSync(const WString& message, bool wait)
{
    m_instance->Write(message, wait);
}

NamedPipeMessageEncoding AsyncNamedPipeClient::GetEncoding()
{
    return m_instance->encoding;
}

void AsyncNamedPipeClient::SetEncoding(NamedPipeMessageEncoding encoding)
{
    m_instance->encoding = encoding;
}

unsigned int AsyncNamedPipeClient::GetTimeout()
{
    return m_instance->timeout;
}

void AsyncNamedPipeClient::SetTimeout(unsigned int timeout)
{
    m_instance->timeout = timeout;
}

void AsyncNamedPipeClient::Open(const SharedHandle& pipe)
{
    const Locked opening(m_instance->openLock);
    if (!IsInitialized())
    {
        Init(pipe);
    }
}

void AsyncNamedPipeClient::Close()
{
    Cancel();
}

bool AsyncNamedPipeClient::IsInitialized()
{
    const Locked lock(m_instance->lock);
    return m_instance->pipe.IsValid();
}

void AsyncNamedPipeClient::SetAuthenticatePipe(const AuthenticationCallback& callback)
{
    const Locked lock(m_instance->lock);
    m_authentication = callback;
}

void AsyncNamedPipeClient::Init(const SharedHandle& pipe)
{
    Close();
    if (pipe.IsValid())
    {
        const Locked lock(m_instance->lock);
        m_instance->pipe = pipe;
    }
    DWORD error = ERROR_SUCCESS;
    for (std::uint32_t attempt = 0; attempt < MAX_ATTEMPTS_COUNT && !IsInitialized(); ++attempt)
    {
        if (!OpenNamedPipe())
        {
            error = ::GetLastError();
            ::Sleep(PAUSE_BETWEEN_ATTEMPTS);
        }
        else
        {
            error = ::GetLastError();
        }
    }
    const Locked lock(m_instance->lock);
    if (!m_instance->pipe.IsValid())
    {
        throw Win32Exception("Failed to connect to the pipe: " + Narrow(m_name), error);
    }
    DWORD mode = PIPE_READMODE_MESSAGE;
    if (::SetNamedPipeHandleState(m_instance->pipe.get(), &mode, nullptr, nullptr) != 1)
    {
        error = ::GetLastError();
        Cancel();
        throw Win32Exception("Failed to change NamedPipe state", error);
    }
}

bool AsyncNamedPipeClient::OpenNamedPipe()
{
    const Locked lock(m_instance->lock);
    const HANDLE pipe = OpenPipe(m_name);
    if (pipe != INVALID_HANDLE_VALUE)
    {
        m_instance->pipe.Reset(pipe);
        bool accepted = false;
        try
        {
            accepted = AuthenticateDestinationServer();
        }
        catch (...)
        {
            m_instance->pipe = SharedHandle();
            throw;
        }
        if (!accepted)
        {
            m_instance->pipe = SharedHandle();
            throw Win32Exception("Error opening named pipe: " + Narrow(m_name) + ". Signature is invalid",
                                 ERROR_INVALID_EXE_SIGNATURE);
        }
        return true;
    }
    const DWORD error = ::GetLastError();
    m_instance->pipe = SharedHandle();
    if (error == ERROR_PIPE_BUSY)
    {
        const bool freed = ::WaitNamedPipeW(m_name.c_str(), m_instance->timeout);
        if (freed)
        {
            ::SetLastError(ERROR_PIPE_BUSY); // what counts if this was the last attempt
        }
        return freed;
    }
    if (error == ERROR_FILE_NOT_FOUND)
    {
        ::SetLastError(error);
        return false;
    }
    throw Win32Exception("Error opening named pipe: " + Narrow(m_name), error);
}

bool AsyncNamedPipeClient::AuthenticateDestinationServer()
{
    const auto authentication = m_authentication; // the callback may replace itself
    return !authentication || authentication(m_instance->pipe, false);
}

void AsyncNamedPipeClient::Cancel()
{
    m_instance->Close();
}

} // namespace Quoll::Utilities
