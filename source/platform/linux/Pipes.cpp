// The calls on named pipes and their overlapped operations.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/HandleTable.h"
#include "platform/linux/PipeClient.h"
#include "platform/linux/PipeName.h"

#include <new>

#include <sys/socket.h>
#include <unistd.h>

namespace Quoll::Platform
{
namespace
{

constexpr DWORD systemDefaultTimeout = 50; // milliseconds, for a server that gives 0

bool ReadSettings(DWORD openMode, DWORD pipeMode, DWORD maxInstances, LPSECURITY_ATTRIBUTES attributes,
                  PipeSettings& settings) noexcept
{
    constexpr DWORD knownPipeMode = PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE;
    if (maxInstances == 0 || maxInstances > PIPE_UNLIMITED_INSTANCES)
    {
        return Fail(ERROR_INVALID_PARAMETER) != FALSE;
    }
    if ((openMode & ~FILE_FLAG_FIRST_PIPE_INSTANCE) != (PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED) ||
        (pipeMode & PIPE_TYPE_MESSAGE) == 0 || (pipeMode & ~knownPipeMode) != 0)
    {
        return Fail(ERROR_NOT_SUPPORTED) != FALSE;
    }
    if (attributes != nullptr && attributes->lpSecurityDescriptor != nullptr)
    {
        // The only list that can be made is the null one, which admits everybody.
        const auto& descriptor = *static_cast<const SECURITY_DESCRIPTOR*>(attributes->lpSecurityDescriptor);
        settings.openToEverybody = (descriptor.Control & SE_DACL_PRESENT) != 0;
    }
    settings.maxInstances = maxInstances;
    settings.firstInstance = (openMode & FILE_FLAG_FIRST_PIPE_INSTANCE) != 0;
    settings.messages = (pipeMode & PIPE_READMODE_MESSAGE) != 0;
    return true;
}

template<class End, class Argument>
Ref<End> MakeEnd(const Argument& argument) noexcept
try
{
    return Ref<End>::Adopt(new End(argument));
}
catch (const std::bad_alloc&)
{
    Fail(ERROR_NOT_ENOUGH_MEMORY);
    return {};
}

HANDLE GiveHandle(PipeEnd& end) noexcept
{
    end.HandleOpens();
    const HANDLE handle = HandleTable::Insert(Ref<Object>(&end));
    if (handle == nullptr)
    {
        const DWORD code = GetLastError();
        end.HandleClosed();
        Fail(code);
        return INVALID_HANDLE_VALUE;
    }
    return handle;
}

HANDLE CreateInstance(const PipeAddress& address, const PipeSettings& settings) noexcept
{
    const auto instance = MakeEnd<ServerEnd>(settings);
    return instance && PipeName::Join(address, settings, *instance) ? GiveHandle(*instance) : INVALID_HANDLE_VALUE;
}

Pinned<PipeEnd> PinServer(HANDLE pipe) noexcept
{
    Pinned<PipeEnd> end(pipe);
    if (end && !end->IsServer())
    {
        Fail(ERROR_INVALID_FUNCTION);
        return {};
    }
    return end;
}

bool PeerProcessId(PipeEnd& end, ULONG& processId) noexcept
{
    int socket = -1;
    if (!end.PeerSocket(socket))
    {
        return false;
    }
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool known = getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    const DWORD code = known ? ERROR_SUCCESS : FromErrno(errno);
    close(socket);
    processId = static_cast<ULONG>(peer.pid);
    return known || Fail(code) != FALSE;
}

// Of one end of the pipe: the asked one's process, which is this one if it is the own end.
BOOL EndProcessId(HANDLE pipe, bool ofServer, ULONG* processId) noexcept
{
    const Pinned<PipeEnd> end(pipe);
    if (!end)
    {
        return FALSE;
    }
    if (processId == nullptr)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (end->IsServer() == ofServer)
    {
        *processId = GetCurrentProcessId();
        return TRUE;
    }
    return PeerProcessId(*end, *processId) ? TRUE : FALSE;
}

} // namespace

HANDLE OpenPipeByName(LPCWSTR name, DWORD disposition, DWORD flags) noexcept
{
    PipeAddress address;
    if (disposition != OPEN_EXISTING || (flags & FILE_FLAG_OVERLAPPED) == 0)
    {
        Fail(ERROR_NOT_SUPPORTED);
        return INVALID_HANDLE_VALUE;
    }
    const auto transport = address.Parse(name) ? OpenInstance(address) : Ref<PipeTransport>();
    if (!transport)
    {
        return INVALID_HANDLE_VALUE;
    }
    const auto end = MakeEnd<ClientEnd>(transport);
    const HANDLE handle = end ? GiveHandle(*end) : INVALID_HANDLE_VALUE;
    if (handle != INVALID_HANDLE_VALUE)
    {
        SetLastError(ERROR_SUCCESS);
    }
    return handle;
}

} // namespace Quoll::Platform

using namespace Quoll::Platform;

extern "C"
{

    HANDLE CreateNamedPipeW(LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD maxInstances, DWORD outBufferSize,
                            DWORD inBufferSize, DWORD defaultTimeout, LPSECURITY_ATTRIBUTES attributes) noexcept
    {
        PipeSettings settings;
        PipeAddress address;
        if (!HandleTable::IsValid())
        {
            Fail(ERROR_INVALID_HANDLE);
            return INVALID_HANDLE_VALUE;
        }
        if (!ReadSettings(openMode, pipeMode, maxInstances, attributes, settings) || !address.Parse(name))
        {
            return INVALID_HANDLE_VALUE;
        }
        settings.outBufferSize = outBufferSize;
        settings.inBufferSize = inBufferSize;
        settings.defaultTimeout = defaultTimeout != 0 ? defaultTimeout : systemDefaultTimeout;
        return CreateInstance(address, settings);
    }

    BOOL ConnectNamedPipe(HANDLE pipe, LPOVERLAPPED overlapped) noexcept
    {
        const auto end = PinServer(pipe);
        if (!end)
        {
            return FALSE;
        }
        if (overlapped == nullptr)
        {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        return static_cast<ServerEnd&>(*end).Connect(*overlapped);
    }

    BOOL DisconnectNamedPipe(HANDLE pipe) noexcept
    {
        const auto end = PinServer(pipe);
        return end ? static_cast<ServerEnd&>(*end).Disconnect() : FALSE;
    }

    BOOL WaitNamedPipeW(LPCWSTR name, DWORD milliseconds) noexcept
    {
        PipeAddress address;
        return address.Parse(name) && WaitForInstance(address, milliseconds) ? TRUE : FALSE;
    }

    BOOL SetNamedPipeHandleState(HANDLE pipe, LPDWORD mode, LPDWORD maxCollection, LPDWORD collectTimeout) noexcept
    {
        const Pinned<PipeEnd> end(pipe);
        if (!end)
        {
            return FALSE;
        }
        if (maxCollection != nullptr || collectTimeout != nullptr)
        {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        if (mode != nullptr)
        {
            if ((*mode & ~PIPE_READMODE_MESSAGE) != 0)
            {
                return Fail(*mode == PIPE_NOWAIT ? ERROR_NOT_SUPPORTED : ERROR_INVALID_PARAMETER);
            }
            end->SetReadMode(*mode == PIPE_READMODE_MESSAGE);
        }
        return TRUE;
    }

    BOOL GetNamedPipeClientProcessId(HANDLE pipe, ULONG* processId) noexcept
    {
        return EndProcessId(pipe, false, processId);
    }

    BOOL GetNamedPipeServerProcessId(HANDLE pipe, ULONG* processId) noexcept
    {
        return EndProcessId(pipe, true, processId);
    }

    BOOL GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD transferred, BOOL wait) noexcept
    {
        if (overlapped == nullptr || transferred == nullptr)
        {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        if (IsPending(*overlapped))
        {
            if (const Pinned<PipeEnd> end(file); end)
            {
                end->Advance();
            }
        }
        while (IsPending(*overlapped))
        {
            if (wait == FALSE)
            {
                return Fail(ERROR_IO_INCOMPLETE);
            }
            const HANDLE event = EventOf(*overlapped);
            const HANDLE signal = event != nullptr ? event : file;
            if (WaitForSingleObject(signal, INFINITE) == WAIT_FAILED)
            {
                return FALSE;
            }
        }
        *transferred = static_cast<DWORD>(overlapped->InternalHigh);
        const DWORD code = OutcomeCode(*overlapped);
        return code == ERROR_SUCCESS ? TRUE : Fail(code);
    }

} // extern "C"
