// What a handle leads to: reference-counted objects, and the owner that counts.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace Quoll::Platform
{

/// Counts its owners; the last one destroys it.
class Counted
{
public:
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    void Retain() noexcept
    {
        m_owners.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() noexcept
    {
        if (m_owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            delete this;
        }
    }

protected:
    Counted() = default;
    virtual ~Counted() = default;

private:
    std::atomic<std::uint32_t> m_owners{1};
};

template<class T>
class Ref
{
public:
    Ref() noexcept = default;
    explicit Ref(T* object) noexcept
        : m_object(object)
    {
        if (m_object != nullptr)
        {
            m_object->Retain();
        }
    }
    Ref(const Ref& other) noexcept
        : Ref(other.m_object)
    {
    }
    Ref(Ref&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    Ref& operator=(Ref other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ref()
    {
        if (m_object != nullptr)
        {
            m_object->Release();
        }
    }

    /// Takes over the count that a new object is born with.
    static Ref Adopt(T* object) noexcept
    {
        Ref owner;
        owner.m_object = object;
        return owner;
    }

    T* Get() const noexcept
    {
        return m_object;
    }
    T* operator->() const noexcept
    {
        return m_object;
    }
    T& operator*() const noexcept
    {
        return *m_object;
    }
    explicit operator bool() const noexcept
    {
        return m_object != nullptr;
    }

private:
    T* m_object = nullptr;
};

enum class ObjectKind : std::uint8_t
{
    Event,
    Mutex,
    Pipe,
    File,
    CompletionPort
};

class Waitable;

/// A kernel object: what handles name.
class Object : public Counted
{
public:
    ObjectKind Kind() const noexcept
    {
        return m_kind;
    }
    /// What a wait on this object's handle waits for; null if it can't be waited on.
    virtual Waitable* WaitTarget() noexcept
    {
        return nullptr;
    }
    /// The object's handle is gone; threads that are inside a call on it may still hold it.
    virtual void HandleClosed() noexcept
    {
    }

protected:
    explicit Object(ObjectKind kind) noexcept
        : m_kind(kind)
    {
    }

private:
    const ObjectKind m_kind;
};

} // namespace Quoll::Platform
