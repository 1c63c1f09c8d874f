/// @file
/// New globally unique identifiers.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

namespace Quoll::Utilities
{

/// Makes identifiers as text.
///
/// They are random, of version 4 (RFC 9562): 122 bits of the system's generator for secrets, so that nobody
/// guesses one from others, and two are never the same.
///
/// Threads: any.
class QUOLL_API Guid
{
public:
    Guid() = delete;

    /// A new identifier: 36 characters in lower case, without braces, such as
    /// "5ae95bbd-7c5b-4d0c-a48f-65d2bbba1bd5".
    /// @throws std::runtime_error  "Failed to create the GUID": the system has no random bits to give, or can't vouch
    ///                             for more than this machine; "Failed to convert the GUID to string", "Failed to
    ///                             free the RPC string": memory is short
    static WString NewGuid();
};

} // namespace Quoll::Utilities
