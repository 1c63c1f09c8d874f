/// @file
/// A copyable, reference-counted owner of a kernel handle.
///
///     SharedHandle event = EventAccessControl::CreateLocalEvent(true, false);
///     SharedHandle copy = event;  // both name one event, which is closed with the last of them
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WindowsTypes.h"

#include <memory>

namespace Quoll::Utilities
{

/// One of the owners of a kernel handle; the last to go closes it.
///
/// The values 0 and -1 are no handles: an object may hold one of them, and it is never closed.
/// How the close ends isn't looked at.
///
/// Only std::bad_alloc is thrown, when there is no memory for the count; the handle that was passed
/// in is closed then.
///
/// Copies may be used and destroyed on different threads at will; one and the same object must not
/// be changed by one thread while another uses it.
class QUOLL_API SharedHandle
{
public:
    /// Holds the null handle.
    SharedHandle();

    /// Takes ownership of `handle`.
    explicit SharedHandle(HANDLE handle);

    /// Becomes a further owner of the other's handle.
    SharedHandle(const SharedHandle& other) noexcept;
    /// Becomes a further owner of the other's handle and gives up its own.
    SharedHandle& operator=(const SharedHandle& other) noexcept;

    /// Takes the other's place as owner; the other holds the null handle then.
    SharedHandle(SharedHandle&& other) noexcept;
    /// Takes the other's place as owner and gives up its own handle; the other holds the null handle then.
    SharedHandle& operator=(SharedHandle&& other) noexcept;

    /// Gives up the handle.
    ~SharedHandle();

    /// The raw handle. Ownership stays here: it is good for as long as an owner lives.
    HANDLE get() const noexcept;

    /// False for the values 0 and -1, true for all others; the handle itself isn't asked.
    bool IsValid() const noexcept;

    /// Gives up the handle and takes ownership of another.
    void Reset(HANDLE handle);

    /// A further owner of the same handle, as a copy is. No new kernel handle is made.
    SharedHandle Duplicate() const;

private:
    HANDLE m_handle;
    std::shared_ptr<void> m_owner;
};

} // namespace Quoll::Utilities
