// A file's name as a caller gives it, made the host's.
#pragma once

#include "platform/linux/FileErrors.h"

#include "Quoll/WideString.h"

#include <string>

#include <windows.h>

namespace Quoll::Platform
{

class FileName
{
public:
    /// False with the last error set for text that names no file of the host.
    bool Parse(LPCWSTR name) noexcept;

    /// The folder that holds the name, as far as the text tells.
    std::string Folder() const;

    const char* Native() const noexcept
    {
        return m_native.c_str();
    }
    /// The text ends in a separator, so that only a folder can be meant.
    bool NamesFolder() const noexcept;
    /// Whether the folder that holds the name is there.
    bool HasParent() const noexcept;

    /// Ends a call on the name that failed with the present errno.
    BOOL Fails(FileOperation operation) const noexcept;

private:
    /// A file's name with a separator behind it.
    bool LeadsThroughFile() const noexcept;

    std::string m_native;
};

/// Takes "." and ".." out of the text, as the platform does before it looks at any file; ".." at a root
/// leads nowhere. Text behind "\\?\" stays as it is.
WString WithoutDots(WStringView name);

} // namespace Quoll::Platform
