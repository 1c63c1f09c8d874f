// A critical section held for a scope.
#pragma once

#include "Quoll/Locks.h"

namespace Quoll::Utilities
{

class Locked
{
public:
    explicit Locked(CriticalSection& section)
        : m_section(&section)
    {
        m_section->Lock();
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked()
    {
        Release();
    }

    void Release()
    {
        if (m_section != nullptr)
        {
            m_section->Unlock();
            m_section = nullptr;
        }
    }

private:
    CriticalSection* m_section;
};

} // namespace Quoll::Utilities
