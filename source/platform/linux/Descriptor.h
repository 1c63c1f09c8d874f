// The owner of a descriptor.
#pragma once

#include "platform/linux/Fork.h"

#include <utility>

namespace Quoll::Platform
{

/// Closes its descriptor; so does the child of a fork.
class Descriptor
{
public:
    Descriptor() noexcept = default;
    /// A negative one owns nothing.
    explicit Descriptor(int descriptor) noexcept
        : m_descriptor(NoteOwned(descriptor))
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor()
    {
        CloseOwned(m_descriptor);
    }

    int Get() const noexcept
    {
        return m_descriptor;
    }
    explicit operator bool() const noexcept
    {
        return m_descriptor >= 0;
    }

private:
    int m_descriptor = -1;
};

} // namespace Quoll::Platform
