// The bytes of files.
#include "Quoll/Errors.h"
#include "Quoll/File.h"
#include "Quoll/HandleDeleters.h"
#include "core/Handles.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace Quoll::Utilities
{

namespace
{

using FileHandle = std::unique_ptr<void, FileHandleDeleter>;

constexpr std::uint64_t MOST_AT_ONCE = std::numeric_limits<DWORD>::max();
constexpr const char* READ_FAILED = "Could not read, all bytes.";
constexpr const char* WRITE_FAILED = "Could not write all bytes. FileName:";

FileHandle Open(const WString& path, DWORD access, DWORD share, DWORD disposition)
{
    FileHandle file(::CreateFileW(path.c_str(), access, share, nullptr, disposition, 0, nullptr));
    if (!IsHandle(file.get()))
    {
        throw FileSystemException("CreateFile failed.", path);
    }
    return file;
}

FileHandle OpenForReading(const WString& path)
{
    return Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
}

std::uint64_t SizeOf(HANDLE file, const WString& path)
{
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(file, &size))
    {
        throw FileSystemException(READ_FAILED, path);
    }
    return static_cast<std::uint64_t>(size.QuadPart);
}

// Cuts the vector to what was read into it.
void Read(HANDLE file, std::vector<std::uint8_t>& bytes, const WString& path)
{
    DWORD read = 0;
    if (!bytes.empty() && !::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr))
    {
        throw FileSystemException(READ_FAILED, path);
    }
    bytes.resize(read);
}

} // namespace

std::vector<std::uint8_t> File::ReadAllBytes(const WString& path)
{
    const FileHandle file = OpenForReading(path);
    const std::uint64_t size = SizeOf(file.get(), path);
    if (size > MOST_AT_ONCE)
    {
        throw FileSystemException(READ_FAILED, path, ERROR_FILE_TOO_LARGE);
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    Read(file.get(), bytes, path);
    if (bytes.size() != size)
    {
        throw FileSystemException(READ_FAILED, path, ERROR_HANDLE_EOF);
    }
    return bytes;
}

std::vector<std::uint8_t> File::ReadBytes(const WString& path, std::int32_t offset, std::uint32_t count)
{
    if (count == 0)
    {
        return {};
    }
    const FileHandle file = OpenForReading(path);
    if (::SetFilePointer(file.get(), offset, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER)
    {
        throw FileSystemException("Can't set file pointer", path);
    }
    // No more room than the file can fill, or a page where it doesn't tell its size.
    constexpr std::uint64_t PAGE = 4096;
    const std::uint64_t size = SizeOf(file.get(), path);
    const auto begin = static_cast<std::uint64_t>(offset);
    const std::uint64_t room = size > begin ? size - begin : PAGE;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(count, room)));
    Read(file.get(), bytes, path);
    return bytes;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a caller may give its bytes away
void File::WriteAllBytes(const WString& path, std::vector<std::uint8_t> bytes)
{
    if (bytes.size() > MOST_AT_ONCE)
    {
        throw FileSystemException(WRITE_FAILED, path, ERROR_FILE_TOO_LARGE);
    }
    const FileHandle file = Open(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
    DWORD written = 0;
    if (!bytes.empty() && !::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
    {
        throw FileSystemException(WRITE_FAILED, path);
    }
    if (written != bytes.size())
    {
        throw FileSystemException(WRITE_FAILED, path, ERROR_DISK_FULL);
    }
}

} // namespace Quoll::Utilities
