/// @file
/// Function objects that release one kind of platform resource each.
///
/// They have no state and serve as deleters of exclusive owners; each names the type of its resource
/// as `pointer`:
///
///     std::unique_ptr<ACL, ACLDeleter> list(MakeList());
///
/// Whether the release worked isn't told, nothing is thrown, and any thread may call them. Which
/// resources exist on Linux is for the call that makes them to say; there are no services there, for
/// one, and thus no valid handle of one.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WindowsTypes.h"

namespace Quoll::Utilities
{

/// Closes a kernel handle, unless it is 0 or -1.
struct QUOLL_API HandleDeleter
{
    using pointer = HANDLE; ///< What an owner holds.

    /// Releases `handle`.
    void operator()(HANDLE handle) const noexcept;
};

/// Closes the handle of a file, unless it is 0 or -1.
struct QUOLL_API FileHandleDeleter
{
    using pointer = HANDLE; ///< What an owner holds.

    /// Releases `file`.
    void operator()(HANDLE file) const noexcept;
};

/// Closes the handle of a search in a folder, unless it is 0; -1 does reach the platform's call.
struct QUOLL_API FindFileHandleDeleter
{
    using pointer = HANDLE; ///< What an owner holds.

    /// Releases `find`.
    void operator()(HANDLE find) const noexcept;
};

/// Releases global memory (GlobalFree), unless it is null.
struct QUOLL_API GlobalMemoryDeleter
{
    using pointer = void*; ///< What an owner holds.

    /// Releases `memory`.
    void operator()(void* memory) const noexcept;
};

/// Releases a loaded module (FreeLibrary), unless it is null.
struct QUOLL_API ModuleHandleDeleter
{
    using pointer = HMODULE; ///< What an owner holds.

    /// Releases `module`.
    void operator()(HMODULE module) const noexcept;
};

/// Releases a loaded resource (FreeResource), unless it is null.
struct QUOLL_API RecourceHandleDeleter
{
    using pointer = void*; ///< What an owner holds.

    /// Releases `resource`.
    void operator()(void* resource) const noexcept;
};

/// Releases a security identifier (FreeSid), unless it is null.
struct QUOLL_API SIDDeleter
{
    using pointer = void*; ///< What an owner holds.

    /// Releases `sid`.
    void operator()(void* sid) const noexcept;
};

/// Releases an access control list (LocalFree), unless it is null.
struct QUOLL_API ACLDeleter
{
    using pointer = ACL*; ///< What an owner holds.

    /// Releases `list`.
    void operator()(ACL* list) const noexcept;
};

/// Releases a security descriptor (LocalFree), unless it is null.
struct QUOLL_API SecurityDescriptorDeleter
{
    using pointer = void*; ///< What an owner holds.

    /// Releases `descriptor`.
    void operator()(void* descriptor) const noexcept;
};

/// Closes the handle of a service or of the service manager, unless it is null.
struct QUOLL_API ServiceHandleDeleter
{
    using pointer = SC_HANDLE; ///< What an owner holds.

    /// Releases `service`.
    void operator()(SC_HANDLE service) const noexcept;
};

} // namespace Quoll::Utilities
