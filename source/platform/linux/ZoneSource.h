// Where the current zone comes from: TZ, or the system's own file.
#pragma once

#include "platform/linux/ZoneFile.h"

#include <sys/stat.h>

namespace Quoll::Platform
{

/// What tells one state of a file from another; all zeros for a file that can't be read.
struct FileState
{
    bool operator==(const FileState&) const = default;

    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0; // nanoseconds
    std::int64_t changed = 0;
};

/// One value of TZ and what it says. The file that it may name is read again when it has changed.
class ZoneSource
{
public:
    /// Null stands for the absent variable.
    explicit ZoneSource(const char* text);

    /// Whether it was made from this text.
    bool IsFrom(const char* text) const noexcept;

    const Zone& Current() const noexcept
    {
        return m_zone;
    }

    /// Looks at the file; true if the zone may be another one than before.
    bool Refresh();

private:
    void Load();
    std::optional<Zone> ReadFile();

    bool m_present;
    std::string m_text;
    std::string m_path; // empty if the text can't name a file
    FileState m_state;
    Zone m_zone;
};

} // namespace Quoll::Platform
