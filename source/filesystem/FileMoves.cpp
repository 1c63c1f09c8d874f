// Files copied and moved.
#include "Quoll/Errors.h"
#include "Quoll/File.h"

#include <windows.h>

#include <stdexcept>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

void File::Copy(const WString& source, const WString& target, bool overwrite)
{
    if (!::CopyFileW(source.c_str(), target.c_str(), overwrite ? FALSE : TRUE))
    {
        throw FileSystemException("CopyFile failed.", source, target);
    }
}

void File::Move(const WString& source, const WString& target, std::uint32_t flags)
{
    if (flags == 0)
    {
        if (!::MoveFileW(source.c_str(), target.c_str()))
        {
            throw FileSystemException("MoveFile failed.", source, target);
        }
        return;
    }
    if ((flags & MOVEFILE_COPY_ALLOWED) != 0 && (flags & MOVEFILE_DELAY_UNTIL_REBOOT) != 0)
    {
        throw std::runtime_error("Delay until reboot can't be used in combination with copy allowed.");
    }
    constexpr DWORD KNOWN = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_DELAY_UNTIL_REBOOT |
                            MOVEFILE_WRITE_THROUGH | MOVEFILE_CREATE_HARDLINK | MOVEFILE_FAIL_IF_NOT_TRACKABLE;
    DWORD passed = flags & KNOWN;
    if ((passed & MOVEFILE_WRITE_THROUGH) != 0 && (passed & MOVEFILE_DELAY_UNTIL_REBOOT) != 0)
    {
        passed &= ~MOVEFILE_WRITE_THROUGH;
        ::OutputDebugStringW("File::Move: a move at the next start isn't written through\r\n"_w);
    }
    if (!::MoveFileExW(source.c_str(), target.empty() ? nullptr : target.c_str(), passed))
    {
        throw FileSystemException("MoveFileEx failed.", source, target);
    }
}

} // namespace Quoll::Utilities
