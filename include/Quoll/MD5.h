/// @file
/// The MD5 digest of a file.
///
///     using namespace Quoll::Literals;
///     Quoll::WString digest = Quoll::Utilities::MD5::ComputeHash("C:\\folder\\file"_w);
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

namespace Quoll::Utilities
{

/// MD5 as in RFC 1321. It finds what changed by accident; it is no protection against people: files that differ and
/// have one digest are made in seconds.
///
/// The class has only a static operation and no state.
class QUOLL_API MD5
{
public:
    MD5() = delete;

    /// The digest of what a file holds, as 32 upper-case hexadecimal digits.
    ///
    /// The file is opened for reading, lets others read but not write meanwhile, and is read to its end in steps of
    /// 1024 bytes, whatever size it tells. It is closed in every case. A read that fails with ERROR_HANDLE_EOF or with
    /// no code is the end of the file as well. The calling thread's last error from before means nothing.
    ///
    /// A path ends at its first NUL. On Linux, pipes, sockets and devices that would keep the reader waiting aren't
    /// opened.
    ///
    /// Threads: reentrant. Time grows linearly with the file, memory does not grow.
    /// @throws FileSystemException  "CreateFile failed" with the path: it can't be opened, as a folder or a file that
    ///                              is missing can't
    /// @throws FileSystemException  "ReadFile failed" with the path: a read failed
    /// @throws std::bad_alloc       there is no memory for the text
    static WString ComputeHash(const WString& path);
};

} // namespace Quoll::Utilities
