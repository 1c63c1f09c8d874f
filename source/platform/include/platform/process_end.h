// What the library has to know of its own end, and of the process's.
#pragma once

namespace Quoll::Platform
{

/// Whether the other threads that this process had are gone although its code still runs, so that nothing
/// they held or did will come to an end: on Windows while the process ends and libraries are told, on Linux in
/// the child of a fork.
bool AreOtherThreadsGone() noexcept;

/// Keeps the library's code in memory until the process ends, for threads that may always come back to it. On
/// Linux it is linked so.
void KeepLibraryLoaded() noexcept;

} // namespace Quoll::Platform
