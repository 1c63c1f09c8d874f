// A directory of its own for each test.
#pragma once

#include <filesystem>

namespace Quoll::Tests
{

/// Makes an empty directory below the system's temporary one and removes it with all it holds.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& Path() const noexcept
    {
        return m_path;
    }

private:
    std::filesystem::path m_path;
};

} // namespace Quoll::Tests
