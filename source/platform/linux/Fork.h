// What a child of a fork must not keep.
//
// A descriptor of a pipe that lives on in a forked child would keep the peer from noticing the
// death of the parent, and a name from becoming free. So each such descriptor is noted here, and
// the child closes all of them, and finds every handle dead, until it calls exec (which closes
// them in any case).
#pragma once

namespace Quoll::Platform
{

/// Installs the handler that runs in the child; once a process.
void PrepareForFork() noexcept;

/// A descriptor that the child of a fork closes. Close it with CloseOwned.
int NoteOwned(int descriptor) noexcept;
void CloseOwned(int descriptor) noexcept;

} // namespace Quoll::Platform
