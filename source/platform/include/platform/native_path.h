// The two spellings of a path: the library's wide text and the host's own.
#pragma once

#include "Quoll/WideString.h"

#include <filesystem>

namespace Quoll::Platform
{

// On Windows both are the same text. On Linux "C:\a\b" is "/a/b", both separators are understood, and
// "C:\Windows\System32\drivers\etc" is "/etc", which hides the host's folder of that name; bytes of a
// host name that aren't UTF-8 stand as U+DC80 to U+DCFF and a backslash in a name as U+DC5C, and both
// go back unchanged.

WString PathFromNative(const std::filesystem::path& native);

/// False with the last error for text that names no host file. On Linux: ERROR_BAD_NETPATH for
/// "\\server\share", ERROR_PATH_NOT_FOUND for a drive other than C:, and ERROR_INVALID_NAME for
/// other names of devices, adjoining escapes that would form valid UTF-8 (so that no two texts name one
/// file), lone surrogates other than the escapes, and an embedded NUL. On
/// Windows: ERROR_INVALID_NAME for an embedded NUL.
bool PathToNative(WStringView path, std::filesystem::path& native);

} // namespace Quoll::Platform
