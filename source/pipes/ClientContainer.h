// One outgoing client of an endpoint.
#pragma once

#include "Quoll/Locks.h"
#include "Quoll/MultiClientPipe.h"

#include "pipes/Locked.h"

#include <atomic>
#include <utility>

namespace Quoll::Utilities
{

// Shared by the endpoint's map and whoever uses the client, so it survives its removal. The fields
// change while others read them: they are copied under the lock.
struct ClientContainer
{
    template<class Field>
    Field Get(Field ClientContainer::* field)
    {
        const Locked locked(lock);
        return this->*field;
    }
    template<class Field>
    void Set(Field ClientContainer::* field, Field value)
    {
        const Locked locked(lock);
        std::swap(this->*field, value); // the old value goes outside of the lock
    }
    void Close()
    {
        if (const auto open = Get(&ClientContainer::client))
        {
            open->Close();
        }
    }

    std::atomic<std::uint32_t> id{0};
    WString connectionString;
    std::shared_ptr<IAsyncNamedPipeClient> client; // empty while the connection string is empty
    IMultiClientPipe::ConnectionStringCallback connectionStringCallback;
    IMultiClientPipe::DisconnectCallback disconnectCallback;
    std::atomic<bool> dropped{false};
    CriticalSection lock;
};

} // namespace Quoll::Utilities
