// Threads that work as long as the process lives.
#pragma once

namespace Quoll::Platform
{

/// Starts a thread that blocks all signals and that nobody joins. Its name has at most 15 characters.
/// 0, or what errno would be.
int StartDetachedThread(const char* name, void* (*body)(void*), void* argument) noexcept;

} // namespace Quoll::Platform
