#include "pipes/ClientPipeInstance.h"

#include "Quoll/Errors.h"

#include "pipes/Locked.h"
#include "pipes/PipeText.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Quoll::Utilities
{

namespace
{

constexpr const char* READ_FAILURE = "Error reading from named pipe";
constexpr const char* WRITE_FAILURE = "Error writing to named pipe";

} // namespace

ClientPipeInstance::ClientPipeInstance(unsigned int givenTimeout)
    : timeout(givenTimeout)
    , m_closing(::CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    if (!m_closing.IsValid())
    {
        throw Win32Exception("Can't create the closing event of a named pipe client");
    }
}

void ClientPipeInstance::Close()
{
    ++m_closers;
    ::SetEvent(m_closing.get());
    {
        const Locked locked(lock);
        if (pipe.IsValid())
        {
            ::CancelIoEx(pipe.get(), nullptr);
            pipe = SharedHandle();
            keptWrites.Abandon(); // a write that can't be cancelled keeps its memory
        }
    }
    if (--m_closers == 0)
    {
        ::ResetEvent(m_closing.get());
    }
}

WString ClientPipeInstance::Read()
{
    const Locked locked(lock);
    const DWORD limit = timeout;
    ClientOperation& current = PrepareOperation(READ_FAILURE);
    AsyncIOBuffer buffer(encoding, AsyncNamedPipeClient::MAX_MESSAGE_SIZE);
    WString message;
    for (;;)
    {
        buffer.Clear();
        DWORD count = 0;
        bool complete = ::ReadFile(pipe.get(), buffer.Data(), buffer.PayloadSize(), &count, &current.overlapped);
        if (!complete)
        {
            const DWORD error = ::GetLastError();
            if (error != ERROR_IO_PENDING && error != ERROR_MORE_DATA)
            {
                throw Win32Exception(READ_FAILURE, error);
            }
            complete = EndChunk(current, limit, count);
        }
        buffer.Received(count);
        if (count != 0)
        {
            message += buffer.AsWideString();
        }
        if (complete)
        {
            return message;
        }
    }
}

// Waits for a read that has begun. True: the message is complete; false: there is more of it.
bool ClientPipeInstance::EndChunk(ClientOperation& current, DWORD limit, DWORD& count)
{
    const DWORD waited = ::WaitForSingleObject(current.event.get(), limit);
    const DWORD waitError = ::GetLastError();
    if (waited != WAIT_OBJECT_0)
    {
        ::CancelIoEx(pipe.get(), &current.overlapped);
    }
    // After a cancel this waits until the buffer is ours again; what came meanwhile isn't lost.
    if (::GetOverlappedResult(pipe.get(), &current.overlapped, &count, waited != WAIT_OBJECT_0))
    {
        return true;
    }
    const DWORD error = ::GetLastError();
    if (error == ERROR_MORE_DATA)
    {
        return false;
    }
    if (waited == WAIT_TIMEOUT && error == ERROR_OPERATION_ABORTED)
    {
        throw std::runtime_error("Timeout expired while reading from named pipe");
    }
    throw Win32Exception(READ_FAILURE, waited == WAIT_FAILED ? waitError : error);
}

void ClientPipeInstance::Write(const WString& message, bool wait)
{
    const Locked locked(lock);
    keptWrites.DropFinished();
    ClientOperation& current = PrepareOperation(WRITE_FAILURE);
    PipeWriteNode write;
    write.push_back({AsyncIOBuffer(encoding, message), current.event, operation});
    auto& buffer = write.front().buffer;
    DWORD count = 0;
    if (::WriteFile(pipe.get(), buffer.Data(), buffer.PayloadSize(), &count, &current.overlapped))
    {
        return;
    }
    const DWORD error = ::GetLastError();
    if (error != ERROR_IO_PENDING)
    {
        throw Win32Exception(error == ERROR_PIPE_NOT_CONNECTED ? "Disconnected" : WRITE_FAILURE, error);
    }
    if (wait)
    {
        WaitForWrite(write, current);
    }
    else
    {
        KeepWrite(write);
    }
}

void ClientPipeInstance::WaitForWrite(PipeWriteNode& write, ClientOperation& current)
{
    const DWORD limit = timeout;
    const HANDLE events[] = {current.event.get(), m_closing.get()};
    const DWORD waited = ::WaitForMultipleObjects(2, events, FALSE, limit);
    const DWORD waitError = ::GetLastError();
    if (waited != WAIT_OBJECT_0)
    {
        ::CancelIoEx(pipe.get(), &current.overlapped);
        if (::WaitForSingleObject(current.event.get(), 0) != WAIT_OBJECT_0)
        {
            KeepWrite(write); // partly read: it can't be withdrawn
        }
    }
    DWORD count = 0;
    if (!write.empty() && ::GetOverlappedResult(pipe.get(), &current.overlapped, &count, FALSE))
    {
        return;
    }
    const DWORD error = ::GetLastError();
    if (waited == WAIT_TIMEOUT)
    {
        throw std::runtime_error("Timeout " + std::to_string(limit) + " expired while writing to named pipe");
    }
    if (waited == WAIT_OBJECT_0 + 1)
    {
        throw Win32Exception(WRITE_FAILURE, ERROR_OPERATION_ABORTED); // another thread closes the pipe
    }
    throw Win32Exception(WRITE_FAILURE, waited == WAIT_FAILED ? waitError : error);
}

// Leaves the write to the platform; the next operation gets another event and record.
void ClientPipeInstance::KeepWrite(PipeWriteNode& write) noexcept
{
    operation.reset();
    keptWrites.Keep(std::exchange(write, {}));
}

ClientOperation& ClientPipeInstance::PrepareOperation(const char* failure)
{
    if (!operation)
    {
        auto made = std::make_shared<ClientOperation>();
        const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        if (event == nullptr)
        {
            throw Win32Exception(failure);
        }
        made->event.Reset(event);
        operation = std::move(made);
    }
    operation->overlapped = OVERLAPPED{};
    operation->overlapped.hEvent = operation->event.get();
    return *operation;
}

} // namespace Quoll::Utilities
