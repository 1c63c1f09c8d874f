// A client's pipe, its lock and its operations. Tasks share it, so it may outlive the client.
#pragma once

#include "Quoll/Locks.h"
#include "Quoll/PipeClient.h"

#include "pipes/KeptWrites.h"

#include <windows.h>

#include <atomic>

namespace Quoll::Utilities
{

// One operation's event and record.
struct ClientOperation
{
    SharedHandle event;
    OVERLAPPED overlapped{};
};

struct ClientPipeInstance
{
    explicit ClientPipeInstance(unsigned int givenTimeout);

    WString Read();
    void Write(const WString& message, bool wait);
    /// Ends the connection, and first of all the wait of a write that nobody reads.
    void Close();

    CriticalSection lock;
    SharedHandle pipe;
    std::shared_ptr<ClientOperation> operation; // made when needed, handed over with a kept write
    KeptWrites keptWrites;
    CriticalSection openLock; // held while one thread opens; taken before `lock`
    std::atomic<unsigned int> timeout;
    std::atomic<NamedPipeMessageEncoding> encoding{NamedPipeMessageEncoding::Utf8};

private:
    SharedHandle m_closing; // set while somebody closes
    std::atomic<int> m_closers{0};

    ClientOperation& PrepareOperation(const char* failure);
    bool EndChunk(ClientOperation& current, DWORD limit, DWORD& count);
    void WaitForWrite(PipeWriteNode& write, ClientOperation& current);
    void KeepWrite(PipeWriteNode& write) noexcept;
};

} // namespace Quoll::Utilities
