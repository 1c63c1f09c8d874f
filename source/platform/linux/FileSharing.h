// Share modes: what an opener of a file does, and what it lets others do meanwhile.
//
// They hold among the processes that use this layer; the host knows nothing of them. Other programs read,
// write, rename and delete as the host lets them, and whoever may read a file could hold the same locks:
// share modes keep those apart who mean well. A program that has locked the whole file counts as one
// that shares nothing.
#pragma once

#include "platform/linux/Descriptor.h"

#include <windows.h>

namespace Quoll::Platform
{

/// Declares on an open file what its handle does, and shares, until the descriptor is closed; a process
/// that is killed declares nothing any more. False with ERROR_SHARING_VIOLATION if that doesn't go with
/// what others have declared. `access` is in single rights; handles that neither read nor write nor
/// delete take no part. `once` are rights that are only needed now, for which others are asked
/// as well. Files whose host keeps no locks have no share modes.
bool DeclareSharing(int file, DWORD access, DWORD shareMode, DWORD once = 0) noexcept;

/// Asks those who have the file open whether it may be renamed or deleted; with `alone` there may be nobody. Until the
/// guard is closed nobody opens it who doesn't share that. Nobody is asked about a link, or a file that the caller may
/// neither read nor write; the guard is empty then.
bool GuardDeletion(const char* path, Descriptor& guard, bool alone = false) noexcept;

} // namespace Quoll::Platform
