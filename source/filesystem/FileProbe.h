// The first step of operations that want a file to be there.
#pragma once

#include "Quoll/Errors.h"
#include "Quoll/File.h"

#include <windows.h>

namespace Quoll::Utilities
{

// Throws FileSystemException for what is missing or a folder.
inline void RequireFile(const WString& path)
{
    if (!File::Exists(path))
    {
        throw FileSystemException("File does not exist", path, ERROR_FILE_NOT_FOUND);
    }
}

} // namespace Quoll::Utilities
