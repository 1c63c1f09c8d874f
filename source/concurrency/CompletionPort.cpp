#include "Quoll/CompletionPort.h"

#include "Quoll/Errors.h"

#include <windows.h>

namespace Quoll::Utilities
{

CompletionPort::CompletionPort(unsigned int runningThreads)
    : m_port(CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, runningThreads))
{
    if (!m_port.IsValid())
    {
        throw Win32Exception("Can't create a completion port");
    }
}

CompletionPort::~CompletionPort() = default;

void CompletionPort::Associate(HANDLE file, std::uintptr_t key)
{
    constexpr const char* failure = "Can't associate a file with a completion port";
    if (file == INVALID_HANDLE_VALUE)
    {
        throw Win32Exception(failure, ERROR_INVALID_HANDLE); // it would ask for another port
    }
    if (CreateIoCompletionPort(file, m_port.get(), key, 0) == nullptr)
    {
        throw Win32Exception(failure);
    }
}

void CompletionPort::Post(std::uintptr_t key, std::uint32_t bytes, OVERLAPPED* overlapped)
{
    if (!PostQueuedCompletionStatus(m_port.get(), bytes, key, overlapped))
    {
        throw Win32Exception("Can't post to a completion port");
    }
}

std::optional<Completion> CompletionPort::Wait(std::uint32_t timeout)
{
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    if (GetQueuedCompletionStatus(m_port.get(), &bytes, &key, &overlapped, timeout))
    {
        return Completion{key, overlapped, bytes, ERROR_SUCCESS};
    }
    const DWORD error = GetLastError();
    if (overlapped != nullptr)
    {
        return Completion{key, overlapped, bytes, error};
    }
    if (error != WAIT_TIMEOUT)
    {
        throw Win32Exception("Can't wait for a completion port", error);
    }
    return std::nullopt;
}

HANDLE CompletionPort::Handle() const noexcept
{
    return m_port.get();
}

} // namespace Quoll::Utilities
