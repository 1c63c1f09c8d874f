// A file that is moved from one file system to another.
#pragma once

#include <windows.h>

namespace Quoll::Platform
{

class FileName;

/// A file or a link; no folder. False with the last error set: both names then lead to what they did.
bool Transplant(const FileName& source, const FileName& target, bool replaces) noexcept;

/// Moves a name within its file system. False with errno set.
bool Rename(const char* source, const char* target, bool replaces) noexcept;

} // namespace Quoll::Platform
