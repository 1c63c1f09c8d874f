#include "Quoll/PipeFraming.h"

#include <windows.h>

#include <new>
#include <utility>

namespace Quoll::Utilities
{

NamedPipeInstance::NamedPipeInstance()
{
    ResetOverlapped();
}

NamedPipeInstance::NamedPipeInstance(const NamedPipeInstance& other)
    : pipe(other.pipe)
    , ioEvent(other.ioEvent)
{
    ResetOverlapped();
}

NamedPipeInstance::NamedPipeInstance(NamedPipeInstance&& other) noexcept
    : pipe(std::move(other.pipe))
    , ioEvent(std::move(other.ioEvent))
{
    ResetOverlapped();
    other.ResetOverlapped();
}

NamedPipeInstance& NamedPipeInstance::operator=(const NamedPipeInstance& other)
{
    if (this != &other)
    {
        pipe = other.pipe;
        ioEvent = other.ioEvent;
        ResetOverlapped();
    }
    return *this;
}

NamedPipeInstance& NamedPipeInstance::operator=(NamedPipeInstance&& other) noexcept
{
    if (this != &other)
    {
        pipe = std::move(other.pipe);
        ioEvent = std::move(other.ioEvent);
        ResetOverlapped();
        other.ResetOverlapped();
    }
    return *this;
}

NamedPipeInstance::~NamedPipeInstance() = default;

bool NamedPipeInstance::CreateIoEvent()
{
    const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (event == nullptr)
    {
        return false;
    }
    ioEvent.Reset(event);
    ResetOverlapped();
    return true;
}

OVERLAPPED* NamedPipeInstance::GetOverlapped() noexcept
{
    return std::launder(reinterpret_cast<OVERLAPPED*>(m_overlapped));
}

void NamedPipeInstance::ResetOverlapped() noexcept
{
    static_assert(sizeof(OVERLAPPED) <= OVERLAPPED_SIZE && alignof(OVERLAPPED) <= alignof(void*));
    auto* record = ::new (m_overlapped) OVERLAPPED{};
    record->hEvent = ioEvent.get();
}

} // namespace Quoll::Utilities
