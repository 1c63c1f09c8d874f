// How a server connection talks; its life stands in PipeServerConnection.cpp.
#include "Quoll/PipeServerConnection.h"

#include "Quoll/Errors.h"
#include "Quoll/Synchronization.h"

#include "pipes/KeptWrites.h"
#include "pipes/Locked.h"
#include "pipes/PipeText.h"

#include <utility>

namespace Quoll::Utilities
{

namespace
{

constexpr DWORD ANSWER_TIMEOUT = 10000;

void AppendChunk(WString& accumulated, AsyncIOBuffer& buffer, DWORD count)
{
    buffer.Received(count);
    if (count != 0)
    {
        accumulated += buffer.AsWideString();
    }
}

} // namespace

void ActiveNamedPipeServerConnection::ReceiveData()
{
    while (m_instance && m_running)
    {
        WString message;
        if (!ReadData(message) || !m_messageCallback || message.empty())
        {
            continue;
        }
        WString answer;
        try
        {
            answer = m_messageCallback(m_id, message);
        }
        catch (...)
        {
            ReportException(m_logCallback,
                            "[ActiveNamedPipeServerConnection::ReceiveData] Callback exception, clId:"_w +
                                Number(m_id) + ", Exception msg: "_w);
            if (m_running) // a stop that the owner asked for isn't reported
            {
                DropClient();
            }
        }
        if (!answer.empty())
        {
            Respond(answer);
        }
    }
    if (!m_instance)
    {
        m_running = false;
    }
    m_ended = true;
}

bool ActiveNamedPipeServerConnection::ReadData(WString& message)
{
    try
    {
        if (TryReadData(message))
        {
            return true;
        }
        Log("ReadData", 0);
        if (m_running)
        {
            if (m_droppedCallback)
            {
                Log("ReadData", 1);
                ReportDrop();
            }
            m_running = false;
        }
    }
    catch (const Win32Exception& exception)
    {
        const WString text = "Exception reading data from client "_w + Number(m_id) + "("_w +
                             Number(exception.GetErrorCode()) + ")\r\n"_w;
        WriteDebug(text);
        LogText("ReadData", 2, "Exception msg: ", text);
        DropClient();
    }
    catch (const std::exception& exception)
    {
        const WString text = "Exception reading data from client "_w + Number(m_id) + "\r\n"_w;
        WriteDebug(text);
        LogText("ReadData", 3, "Exception msg: ", text + Widen(exception.what()));
        DropClient();
    }
    return false;
}

bool ActiveNamedPipeServerConnection::TryReadData(WString& message)
{
    const Locked lock(m_ioLock);
    if (!m_readBuffer)
    {
        m_readBuffer = std::make_unique<AsyncIOBuffer>(m_encoding, m_bufferSize);
    }
    AsyncIOBuffer& buffer = *m_readBuffer;
    WString accumulated;
    const HANDLE pipe = m_instance->pipe.get();
    auto* const overlapped = m_instance->GetOverlapped();
    for (;;)
    {
        if (!m_running)
        {
            return false;
        }
        buffer.Clear();
        DWORD count = 0;
        if (::ReadFile(pipe, buffer.Data(), buffer.PayloadSize(), &count, overlapped))
        {
            AppendChunk(accumulated, buffer, count);
            message = std::move(accumulated);
            LogText("TryReadData", 0, "message:", message);
            return true;
        }
        DWORD error = ::GetLastError();
        LogError("TryReadData", 1, error);
        if (error != ERROR_IO_PENDING && error != ERROR_MORE_DATA)
        {
            return EndRead(error);
        }
        if (!WaitForOverlapped(INFINITE))
        {
            CancelIO();
            // Even when there was nothing left to cancel, the buffer is ours again only after this.
            ::GetOverlappedResult(pipe, overlapped, &count, TRUE);
            return false;
        }
        Log("TryReadData", 2);
        if (::GetOverlappedResult(pipe, overlapped, &count, FALSE))
        {
            AppendChunk(accumulated, buffer, count);
            message = std::move(accumulated);
            LogText("TryReadData", 6, "message:", message);
            return true;
        }
        error = ::GetLastError();
        LogError("TryReadData", 4, error);
        if (error != ERROR_MORE_DATA)
        {
            return EndRead(error);
        }
        AppendChunk(accumulated, buffer, count);
        LogText("TryReadData", 5, "message:", accumulated);
    }
}

// The end of a read that failed: false if the client has gone.
bool ActiveNamedPipeServerConnection::EndRead(std::uint32_t error)
{
    if (IsGoneSide(error))
    {
        return false;
    }
    m_running = false;
    CancelIO();
    throw Win32Exception("Error reading from named pipe", error);
}

void ActiveNamedPipeServerConnection::Respond(const WString& message)
{
    try
    {
        if (!WriteData(message) && m_running)
        {
            ReportDrop();
        }
    }
    catch (const Win32Exception& exception)
    {
        WriteDebug("Exception writing data to the client "_w + Number(m_id) + "("_w + Number(exception.GetErrorCode()) +
                   ")"_w + message + "\r\n"_w);
        ReportDrop();
    }
    catch (...)
    {
        // An answer that can't be encoded isn't sent.
    }
}

bool ActiveNamedPipeServerConnection::WriteData(const WString& message)
{
    const Locked lock(m_ioLock);
    if (!m_instance)
    {
        return false;
    }
    m_keptWrites->DropFinished();
    const HANDLE pipe = m_instance->pipe.get();
    auto* const overlapped = m_instance->GetOverlapped();
    PipeWriteNode write;
    write.push_back({AsyncIOBuffer(m_encoding, message), m_instance->ioEvent, m_instance});
    auto& buffer = write.front().buffer;
    DWORD count = 0;
    if (::WriteFile(pipe, buffer.Data(), buffer.PayloadSize(), &count, overlapped))
    {
        return true;
    }
    const DWORD error = ::GetLastError();
    if (error == ERROR_IO_PENDING)
    {
        if (!WaitForOverlapped(ANSWER_TIMEOUT))
        {
            AbandonWrite(write);
            return false;
        }
        if (::GetOverlappedResult(pipe, overlapped, &count, FALSE))
        {
            return true;
        }
        throw Win32Exception("Error writing to named pipe");
    }
    if (IsGoneSide(error))
    {
        return false;
    }
    CancelIO();
    throw Win32Exception("Error writing to named pipe", error);
}

// A write of which the peer has read a part can't be cancelled and may never end.
void ActiveNamedPipeServerConnection::AbandonWrite(PipeWriteNode& write) noexcept
{
    const HANDLE event = m_instance->ioEvent.get();
    ::CancelIoEx(m_instance->pipe.get(), m_instance->GetOverlapped());
    if (::WaitForSingleObject(event, 0) == WAIT_OBJECT_0)
    {
        ::ResetEvent(event);
        return;
    }
    RenewInstance();
    m_keptWrites->Keep(std::move(write));
}

// The record stays with the write; the connection goes on with another, or ends without one.
void ActiveNamedPipeServerConnection::RenewInstance() noexcept
{
    const auto old = std::exchange(m_instance, nullptr);
    try
    {
        auto renewed = std::make_shared<NamedPipeInstance>(*old);
        if (renewed->CreateIoEvent())
        {
            m_instance = std::move(renewed);
        }
    }
    catch (const std::exception&)
    {
        // The thread ends for want of an instance.
    }
    const SharedHandle released = std::move(old->pipe);
}

bool ActiveNamedPipeServerConnection::WaitForOverlapped(std::uint32_t timeout)
{
    if (!m_instance || !m_instance->ioEvent.IsValid() || !m_stopEvent.IsValid())
    {
        return false;
    }
    const HANDLE events[] = {m_instance->ioEvent.get(), m_stopEvent.get()};
    if (::WaitForMultipleObjects(2, events, FALSE, timeout) != WAIT_OBJECT_0)
    {
        return false;
    }
    ::ResetEvent(events[0]);
    return true;
}

void ActiveNamedPipeServerConnection::CancelIO()
{
    const HANDLE pipe = m_instance->pipe.get();
    auto* const overlapped = m_instance->GetOverlapped();
    if (::CancelIoEx(pipe, overlapped) || ::GetLastError() != ERROR_NOT_FOUND)
    {
        Log("CancelIO", 0);
        DWORD count = 0;
        ::GetOverlappedResult(pipe, overlapped, &count, TRUE);
        Log("CancelIO", 1);
    }
    Log("CancelIO", 2);
}

void ActiveNamedPipeServerConnection::DropClient() noexcept
{
    ReportDrop();
    m_running = false;
    Disconnect();
}

void ActiveNamedPipeServerConnection::ReportDrop() noexcept
{
    if (!m_droppedCallback || m_dropReported.exchange(true))
    {
        return;
    }
    try
    {
        m_droppedCallback(m_id);
    }
    catch (...)
    {
        ReportException(m_logCallback, "[ActiveNamedPipeServerConnection::ReportDrop] Callback exception, clId:"_w +
                                           Number(m_id) + ", Exception msg: "_w);
    }
}

WString ActiveNamedPipeServerConnection::LogLine(const char* place, int step) const
{
    return "[ActiveNamedPipeServerConnection::"_w + Widen(place) + "] Step "_w +
           Number(static_cast<std::uint32_t>(step)) + ", clId:"_w + Number(m_id);
}

void ActiveNamedPipeServerConnection::Log(const char* place, int step) const
{
    if (m_logCallback)
    {
        WriteLog(m_logCallback, LogLine(place, step));
    }
}

void ActiveNamedPipeServerConnection::LogError(const char* place, int step, std::uint32_t error) const
{
    if (m_logCallback)
    {
        WriteLog(m_logCallback, LogLine(place, step) + ", GetLastError():"_w + Number(error) + ", result:0"_w);
    }
}

void ActiveNamedPipeServerConnection::LogText(const char* place, int step, const char* label, const WString& text) const
{
    if (m_logCallback)
    {
        WriteLog(m_logCallback, LogLine(place, step) + ", "_w + Widen(label) + text);
    }
}

} // namespace Quoll::Utilities
