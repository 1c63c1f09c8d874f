// What the tests of the pipe classes share.
#pragma once

#include "Quoll/Errors.h"
#include "Quoll/PipeClient.h"
#include "Quoll/PipeFraming.h"
#include "support/MessageOf.h"

#include <windows.h>

#include <memory>
#include <string>

namespace Quoll::Tests
{

/// A pipe name, with prefix, that no other test uses.
WString UniquePipeName();

/// A server's end by itself, not connected, and what it is made with.
Utilities::SharedHandle CreateServerEnd(const WString& name, DWORD maxInstances = PIPE_UNLIMITED_INSTANCES,
                                        DWORD bufferSize = 4096);

/// Both ends of a connected pipe: the server's as an instance, the client's adopted by a client.
struct ConnectedPipe
{
    explicit ConnectedPipe(DWORD bufferSize = 4096, unsigned int timeout = 20000);

    WString name;
    std::shared_ptr<Utilities::NamedPipeInstance> server;
    Utilities::AsyncNamedPipeClient client;
};

/// The code of the platform's exception that the function throws, or success.
template<class Function>
DWORD CodeOf(Function function)
{
    try
    {
        function();
    }
    catch (const Utilities::Win32Exception& exception)
    {
        return exception.GetErrorCode();
    }
    return ERROR_SUCCESS;
}

} // namespace Quoll::Tests
