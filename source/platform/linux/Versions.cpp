// Version resources of Windows programs, read from their files.
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/PortableExecutable.h"
#include "platform/linux/VersionBlock.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <vector>

namespace
{

using Quoll::Platform::Fail;
using Quoll::Platform::FindVersionResource;
using Quoll::Platform::ResourcePlace;

constexpr std::size_t k_behind = 4; // zeros behind the tree, so that its last text ends

// A file that is open for reading.
class OpenFile final : public Quoll::Platform::FileBytes
{
public:
    explicit OpenFile(LPCWSTR name) noexcept
        : m_handle(CreateFileW(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               OPEN_EXISTING, 0, nullptr))
    {
    }
    ~OpenFile() override
    {
        if (IsOpen())
        {
            CloseHandle(m_handle);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool IsOpen() const noexcept
    {
        return m_handle != INVALID_HANDLE_VALUE;
    }

    bool Read(std::uint64_t offset, void* buffer, std::size_t size) const noexcept override
    {
        OVERLAPPED place{};
        place.Pointer = std::bit_cast<void*>(offset);
        DWORD read = 0;
        if (ReadFile(m_handle, buffer, static_cast<DWORD>(size), &read, &place))
        {
            return read == size;
        }
        m_error = GetLastError() != ERROR_HANDLE_EOF ? GetLastError() : m_error;
        return false;
    }

    // What kept the file from being read; ERROR_SUCCESS if nothing did.
    DWORD Error() const noexcept
    {
        return m_error;
    }

private:
    HANDLE m_handle;
    mutable DWORD m_error = ERROR_SUCCESS;
};

// The tree of the file's version resource; empty with the last error set.
std::vector<std::byte> ReadTree(LPCWSTR name)
{
    if (name == nullptr || *name == 0)
    {
        Fail(name == nullptr ? ERROR_INVALID_PARAMETER : ERROR_BAD_PATHNAME);
        return {};
    }
    const OpenFile file(name);
    if (!file.IsOpen())
    {
        return {};
    }
    std::vector<std::byte> tree;
    ResourcePlace place{};
    WORD size = 0; // its own; the file tells another one, which may be anything
    if (FindVersionResource(file, place) && file.Read(place.offset, &size, sizeof(size)))
    {
        tree.resize(std::min<std::size_t>(place.size, size));
        tree.resize(file.Read(place.offset, tree.data(), tree.size()) ? Quoll::Platform::VersionTreeSize(tree) : 0);
    }
    if (tree.empty())
    {
        Fail(file.Error() != ERROR_SUCCESS ? file.Error() : ERROR_RESOURCE_DATA_NOT_FOUND);
    }
    return tree;
}

void SetLength(std::span<std::byte> tree) noexcept
{
    const auto length = static_cast<WORD>(tree.size());
    std::memcpy(tree.data(), &length, sizeof(length));
}

} // namespace

DWORD GetFileVersionInfoSizeW(LPCWSTR name, LPDWORD unused) noexcept
try
{
    if (unused != nullptr)
    {
        *unused = 0;
    }
    const auto tree = ReadTree(name);
    if (tree.empty())
    {
        return 0;
    }
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(tree.size() + k_behind);
}
catch (const std::bad_alloc&)
{
    return static_cast<DWORD>(Fail(ERROR_NOT_ENOUGH_MEMORY));
}

BOOL GetFileVersionInfoW(LPCWSTR name, DWORD, DWORD capacity, LPVOID data) noexcept
try
{
    if (data == nullptr)
    {
        return Fail(ERROR_INVALID_DATA);
    }
    auto tree = ReadTree(name);
    if (tree.empty())
    {
        return FALSE;
    }
    // What is cut off can't be searched, so that it must not count either.
    tree.resize(std::min<std::size_t>(tree.size(), capacity));
    if (Quoll::Platform::VersionTreeSize(tree) == 0)
    {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    SetLength(tree);
    tree.resize(std::min<std::size_t>(tree.size() + k_behind, capacity));
    std::memcpy(data, tree.data(), tree.size());
    SetLastError(ERROR_SUCCESS);
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

BOOL VerQueryValueW(LPCVOID block, LPCWSTR path, LPVOID* value, PUINT length) noexcept
{
    if (length != nullptr)
    {
        *length = 0;
    }
    if (block == nullptr)
    {
        return FALSE;
    }
    WORD size = 0;
    std::memcpy(&size, block, sizeof(size));
    const auto* const bytes = static_cast<const std::byte*>(block);
    const auto found = Quoll::Platform::FindVersionValue({bytes, size}, path != nullptr ? path : u"");
    if (!found)
    {
        return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND);
    }
    *value = const_cast<std::byte*>(bytes + found->offset); // as the platform has it
    if (length != nullptr)
    {
        *length = found->length;
    }
    return TRUE;
}
