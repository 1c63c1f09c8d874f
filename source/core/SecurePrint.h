// A print into a buffer of known size that doesn't let cut text pass unnoticed.
#pragma once

#include "Quoll/WideString.h"

#include <cstddef>

namespace Quoll::Utilities
{

constexpr std::size_t PrintTruncated = static_cast<std::size_t>(-1);

/// Prints as core/Printf.h says, and terminates with NUL.
///
/// Returns the number of units printed, or -1:
/// - the text is longer than `maxCount`, which is below the buffer's size, or than the buffer and
///   `maxCount` is PrintTruncated: as much as is allowed stands in the buffer, terminated;
/// - the text and its NUL don't fit the buffer: the buffer holds the cut text with its first unit
///   overwritten by NUL, errno is ERANGE and the invalid-parameter handler was called;
/// - no buffer, no format, or a format error: the buffer's first unit is NUL, errno is EINVAL and the
///   handler was called.
int SecurePrint(WChar* buffer, std::size_t bufferSize, std::size_t maxCount, const WChar* format, ...);

} // namespace Quoll::Utilities
