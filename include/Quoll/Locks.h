/// @file
/// Locks between the threads of one process.
#pragma once

#include "Quoll/Api.h"

#include <memory>

namespace Quoll::Utilities
{

/// Mutual exclusion between the threads of one process.
///
/// A thread may lock it again while it holds it, and unlocks as often. Both operations may be called
/// from any thread; the unlocks from the one that locked.
class QUOLL_API CriticalSection
{
public:
    /// Throws Win32Exception "Can't initialize critical section" if the platform refuses.
    CriticalSection();

    /// Nobody may hold the section or wait for it any longer.
    virtual ~CriticalSection();

    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    /// Waits until no other thread holds the section, and holds it then.
    void Lock() noexcept;

    /// Gives up one Lock of this thread.
    void Unlock() noexcept;

private:
    void* m_section;
    std::shared_ptr<void> m_owner;
};

/// Many readers or one writer.
///
/// The platform's slim lock where the platform has it, else a critical section. Which of the two is
/// settled for the whole process when the library is loaded, so that objects with static storage may
/// use the class. Code must be right with both:
/// - with a critical section two readers exclude each other;
/// - with a slim lock a thread must not lock again while it holds the lock, neither to read nor to
///   write: it may wait for ever, or the process may end.
///
/// All operations may be called from any thread; an unlock from the one that locked.
class QUOLL_API ReadWriteLock
{
public:
    /// Throws Win32Exception "Can't initialize critical section" if there is no slim lock and the
    /// platform refuses the critical section.
    ReadWriteLock();

    /// Nobody may hold the lock or wait for it any longer.
    ~ReadWriteLock();

    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;

    /// Waits until no thread writes, and reads then.
    void ReadSharedLock() noexcept;

    /// Ends a ReadSharedLock.
    void ReadSharedUnlock() noexcept;

    /// Waits until no other thread reads or writes, and writes then.
    void WriteExclusiveLock() noexcept;

    /// Ends a WriteExclusiveLock.
    void WriteExclusiveUnlock() noexcept;

private:
    struct Pimpl;

    Pimpl* m_pimpl;
    std::shared_ptr<Pimpl> m_owner;
};

} // namespace Quoll::Utilities
