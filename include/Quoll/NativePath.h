/// @file
/// Paths in the library's spelling and in the host's.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <filesystem>

namespace Quoll::Utilities
{

/// Converts between the wide text by which the library names files and the host's own paths.
///
/// On Windows both are the same text. On Linux:
/// - `C:\` is the host's root; `C:\home\x`, `\home\x` and `/home/x` name one file. There is no other
///   drive and no network path; `\\?\C:\home\x` is understood.
/// - `C:\Windows\System32\drivers\etc` is `/etc`; a host's folder `/Windows/System32/drivers/etc` can't
///   be reached.
/// - Host names are bytes. Those that aren't UTF-8 stand as lone surrogates U+DC80 to U+DCFF, a
///   backslash in a name as U+DC5C, so that every file can be named. Other lone surrogates name no
///   file, nor do adjoining escapes whose bytes would be UTF-8: no two texts that differ in their names
///   denote one file.
///
/// Relative paths stay relative. Nothing is looked up: no file has to exist. Threads: any.
class QUOLL_API NativePath
{
public:
    /// The host's path.
    ///
    /// Throws FileSystemException if the text names no file of the host: with code 53
    /// (ERROR_BAD_NETPATH) for a network path, 3 (ERROR_PATH_NOT_FOUND) for a drive other than `C:`, 123
    /// (ERROR_INVALID_NAME) for anything else; on Windows only for an embedded NUL, with 123.
    static std::filesystem::path ToNative(WStringView path);

    /// The library's text for a path of the host: absolute paths begin with `C:\`. Any path has one, and
    /// ToNative gives the same file for it, but for the hidden folder named above.
    static WString FromNative(const std::filesystem::path& path);
};

} // namespace Quoll::Utilities
