// What goes from one file to another.
#pragma once

struct statx;

namespace Quoll::Platform
{

/// From both files' positions to the end of the first. False with the last error set; the second may have got
/// some of it then.
bool CopyContents(int from, int to) noexcept;

/// What `facts` tells of the first file, read before its content was: owner, rights, extended attributes with access
/// lists, and times, as far as the caller may give them. What the second file's system can't hold is a failure with the
/// last error set, not a loss; but for what only the system itself may give.
bool CopyIdentity(const struct statx& facts, int from, int to) noexcept;

} // namespace Quoll::Platform
