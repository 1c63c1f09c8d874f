// The attributes that a file's mode can't hold, in an extended attribute beside it.
#pragma once

#include "platform/linux/FileFacts.h"

namespace Quoll::Platform
{

/// What CreateFileW and SetFileAttributesW take.
constexpr DWORD settableAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                     FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_OFFLINE |
                                     FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

DWORD ReadAttributes(FilePlace place, const struct statx& facts) noexcept;
/// Makes the settable ones what `attributes` says; the rest of it isn't looked at. False with the last
/// error set.
bool StoreAttributes(FilePlace place, const struct statx& facts, DWORD attributes) noexcept;

} // namespace Quoll::Platform
