// The resources of Windows programs, found in their files. Nothing in a file is trusted: every read is bounded by the
// file's own end, the search goes three folders deep and no further, and holds a few hundred bytes at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Quoll::Platform
{

/// The bytes of a file.
class FileBytes
{
public:
    virtual ~FileBytes() = default;

    /// All of the bytes or none; false where the file ends before them.
    virtual bool Read(std::uint64_t offset, void* buffer, std::size_t size) const noexcept = 0;
};

/// Where a resource lies in its file. The size is what the file says.
struct ResourcePlace
{
    std::uint64_t offset;
    std::uint32_t size;
};

/// The version resource: the neutral one, else the one in American English, else the first. False if there is none.
bool FindVersionResource(const FileBytes& file, ResourcePlace& place) noexcept;

} // namespace Quoll::Platform
