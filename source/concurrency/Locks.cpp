#include "Quoll/Locks.h"

#include "concurrency/SlimLockCalls.h"

#include "Quoll/Errors.h"

#include <windows.h>

#include <type_traits>

namespace Quoll::Utilities
{

namespace
{

void InitializeSection(CRITICAL_SECTION& section)
{
    if (!InitializeCriticalSectionAndSpinCount(&section, 0))
    {
        throw Win32Exception("Can't initialize critical section");
    }
}

CRITICAL_SECTION* Section(void* block) noexcept
{
    return static_cast<CRITICAL_SECTION*>(block);
}

} // namespace

CriticalSection::CriticalSection()
    : m_section(nullptr)
{
    auto section = std::make_shared<CRITICAL_SECTION>();
    InitializeSection(*section);
    m_section = section.get();
    m_owner = std::move(section);
}

CriticalSection::~CriticalSection()
{
    if (m_section != nullptr)
    {
        DeleteCriticalSection(Section(m_section));
        m_section = nullptr;
    }
}

void CriticalSection::Lock() noexcept
{
    if (m_section != nullptr)
    {
        EnterCriticalSection(Section(m_section));
    }
}

void CriticalSection::Unlock() noexcept
{
    if (m_section != nullptr)
    {
        LeaveCriticalSection(Section(m_section));
    }
}

/// One of the two; SlimLockCalls::available tells which.
struct ReadWriteLock::Pimpl
{
    union {
        SRWLOCK slim;
        CRITICAL_SECTION section;
    };
};

ReadWriteLock::ReadWriteLock()
    : m_pimpl(nullptr)
{
    auto block = std::make_shared<Pimpl>();
    if (SlimLocks().available)
    {
        SlimLocks().initialize(&block->slim);
    }
    else
    {
        InitializeSection(block->section);
    }
    m_pimpl = block.get();
    m_owner = std::move(block);
}

ReadWriteLock::~ReadWriteLock()
{
    if (!SlimLocks().available)
    {
        DeleteCriticalSection(&m_pimpl->section);
    }
}

void ReadWriteLock::ReadSharedLock() noexcept
{
    if (SlimLocks().available)
    {
        SlimLocks().acquireShared(&m_pimpl->slim);
    }
    else
    {
        EnterCriticalSection(&m_pimpl->section);
    }
}

void ReadWriteLock::ReadSharedUnlock() noexcept
{
    if (SlimLocks().available)
    {
        SlimLocks().releaseShared(&m_pimpl->slim);
    }
    else
    {
        LeaveCriticalSection(&m_pimpl->section);
    }
}

void ReadWriteLock::WriteExclusiveLock() noexcept
{
    if (SlimLocks().available)
    {
        SlimLocks().acquireExclusive(&m_pimpl->slim);
    }
    else
    {
        EnterCriticalSection(&m_pimpl->section);
    }
}

void ReadWriteLock::WriteExclusiveUnlock() noexcept
{
    if (SlimLocks().available)
    {
        SlimLocks().releaseExclusive(&m_pimpl->slim);
    }
    else
    {
        LeaveCriticalSection(&m_pimpl->section);
    }
}

} // namespace Quoll::Utilities
