#include "pipes/PipeSupport.h"

#include <atomic>
#include <stdexcept>

namespace Quoll::Tests
{

using namespace Utilities;

WString UniquePipeName()
{
    static std::atomic<unsigned> count{0};
    const std::string tail = std::to_string(::GetCurrentProcessId()) + "-" + std::to_string(++count);
    return "\\\\.\\pipe\\quoll-test-"_w + WString(tail.begin(), tail.end());
}

SharedHandle CreateServerEnd(const WString& name, DWORD maxInstances, DWORD bufferSize)
{
    SharedHandle pipe(::CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                         PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, maxInstances, bufferSize,
                                         bufferSize, 1000, nullptr));
    if (!pipe.IsValid())
    {
        throw Win32Exception("CreateNamedPipeW");
    }
    return pipe;
}

ConnectedPipe::ConnectedPipe(DWORD bufferSize, unsigned int timeout)
    : name(UniquePipeName())
    , server(std::make_shared<NamedPipeInstance>())
    , client(name, timeout)
{
    server->pipe = CreateServerEnd(name, 1, bufferSize);
    if (!server->CreateIoEvent())
    {
        throw Win32Exception("CreateEventW");
    }
    const BOOL connected = ::ConnectNamedPipe(server->pipe.get(), server->GetOverlapped());
    const DWORD error = ::GetLastError();
    client.Open(SharedHandle());
    DWORD count = 0;
    if (!connected && (error != ERROR_IO_PENDING ||
                       !::GetOverlappedResult(server->pipe.get(), server->GetOverlapped(), &count, TRUE)))
    {
        throw Win32Exception("ConnectNamedPipe", error);
    }
    ::ResetEvent(server->ioEvent.get());
}

} // namespace Quoll::Tests
