// The process-wide table behind every HANDLE.
//
// A handle is a slot's index and the generation that the slot had when the handle was made; a
// slot is used again only under the next generation. So a stale or foreign value finds nothing,
// a second close never touches another object, and look-ups take no lock. A call pins the slot
// for as long as it works on the object. The table is constant-initialised and never destroyed:
// it serves late thread-local destructors as well.
#pragma once

#include "platform/linux/Object.h"

#include <windows.h>

#include <atomic>

namespace Quoll::Platform
{

class HandleTable
{
public:
    struct Slot;

    /// Gives the object a handle; null with the last error set if the table is full.
    static HANDLE Insert(const Ref<Object>& object) noexcept;
    static BOOL Close(HANDLE handle) noexcept;

    /// Null, with ERROR_INVALID_HANDLE, for a value that names nothing.
    static Slot* Pin(HANDLE handle) noexcept;
    static void Unpin(Slot& slot) noexcept;
    static Object& Target(const Slot& slot) noexcept;

    /// In the child of a fork: every handle is dead, and stays so until exec.
    static void Invalidate() noexcept;
    static bool IsValid() noexcept
    {
        return !invalid.load(std::memory_order_relaxed);
    }

private:
    static inline constinit std::atomic<bool> invalid{false};
};

/// A looked-up object, kept from being recycled while this stands.
template<class T>
class Pinned
{
public:
    Pinned() noexcept = default;
    explicit Pinned(HANDLE handle) noexcept
        : m_slot(HandleTable::Pin(handle))
    {
        if (m_slot != nullptr && HandleTable::Target(*m_slot).Kind() != T::ClassKind)
        {
            HandleTable::Unpin(*std::exchange(m_slot, nullptr));
            SetLastError(ERROR_INVALID_HANDLE);
        }
    }
    Pinned(Pinned&& other) noexcept
        : m_slot(std::exchange(other.m_slot, nullptr))
    {
    }
    Pinned& operator=(Pinned&& other) noexcept
    {
        std::swap(m_slot, other.m_slot);
        return *this;
    }
    ~Pinned()
    {
        if (m_slot != nullptr)
        {
            HandleTable::Unpin(*m_slot);
        }
    }

    explicit operator bool() const noexcept
    {
        return m_slot != nullptr;
    }
    T& operator*() const noexcept
    {
        return static_cast<T&>(HandleTable::Target(*m_slot));
    }
    T* operator->() const noexcept
    {
        return &**this;
    }

private:
    HandleTable::Slot* m_slot = nullptr;
};

/// Any object at all.
template<>
inline Pinned<Object>::Pinned(HANDLE handle) noexcept
    : m_slot(HandleTable::Pin(handle))
{
}

} // namespace Quoll::Platform
