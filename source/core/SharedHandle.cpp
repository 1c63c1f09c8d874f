#include "Quoll/SharedHandle.h"

#include "Quoll/HandleDeleters.h"
#include "core/Handles.h"

#include <utility>

namespace Quoll::Utilities
{

SharedHandle::SharedHandle()
    : SharedHandle(nullptr)
{
}

SharedHandle::SharedHandle(HANDLE handle)
    : m_handle(handle)
    , m_owner(handle, HandleDeleter())
{
}

SharedHandle::SharedHandle(const SharedHandle& other) noexcept = default;
SharedHandle& SharedHandle::operator=(const SharedHandle& other) noexcept = default;
SharedHandle::~SharedHandle() = default;

SharedHandle::SharedHandle(SharedHandle&& other) noexcept
    : m_handle(std::exchange(other.m_handle, nullptr))
    , m_owner(std::move(other.m_owner))
{
}

SharedHandle& SharedHandle::operator=(SharedHandle&& other) noexcept
{
    SharedHandle moved(std::move(other));
    std::swap(m_handle, moved.m_handle);
    m_owner.swap(moved.m_owner);
    return *this;
}

HANDLE SharedHandle::get() const noexcept
{
    return m_handle;
}

bool SharedHandle::IsValid() const noexcept
{
    return IsHandle(m_handle);
}

void SharedHandle::Reset(HANDLE handle)
{
    m_owner.reset(handle, HandleDeleter());
    m_handle = handle;
}

SharedHandle SharedHandle::Duplicate() const
{
    SharedHandle duplicate;
    duplicate.m_owner = m_owner;
    duplicate.m_handle = m_handle;
    return duplicate;
}

} // namespace Quoll::Utilities
