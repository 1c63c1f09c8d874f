// What is asked about files, locks, and files made and deleted.
#include "Quoll/File.h"

#include "Quoll/Errors.h"
#include "Quoll/HandleDeleters.h"
#include "Quoll/StringUtilities.h"
#include "core/Handles.h"

#include <platform/file_probe.h>

#include <windows.h>

#include <chrono>
#include <memory>
#include <stdexcept>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

using FileHandle = std::unique_ptr<void, FileHandleDeleter>;

bool HasAttributes(const WString& path, DWORD set, DWORD clear) noexcept
{
    const DWORD attributes = Platform::ProbeAttributes(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & (set | clear)) == set;
}

bool QueryFile(const WString& path, WIN32_FILE_ATTRIBUTE_DATA& data) noexcept
{
    return Platform::ProbeFile(path.c_str(), data) != FALSE;
}

WIN32_FILE_ATTRIBUTE_DATA GetFileData(const WString& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!QueryFile(path, data))
    {
        throw Win32Exception("Can't get file attributes");
    }
    return data;
}

HANDLE Open(const WString& path, DWORD access, DWORD share, DWORD disposition) noexcept
{
    return ::CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

File& File::operator=(const File& other) noexcept = default;
File& File::operator=(File&& other) noexcept = default;

bool File::Exists(const WString& path) noexcept
{
    return HasAttributes(path, 0, FILE_ATTRIBUTE_DIRECTORY);
}

bool File::ItemExists(const WString& path) noexcept
{
    return HasAttributes(path, 0, 0);
}

std::uint64_t File::GetSize(const WString& path) noexcept
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return QueryFile(path, data) ? std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow : 0;
}

UtcTime File::GetCreationTime(const WString& path)
{
    return {GetFileData(path).ftCreationTime, false};
}

UtcTime File::GetFileLastWriteTime(const WString& path)
{
    return {GetFileData(path).ftLastWriteTime, false};
}

bool File::IsEncrypted(const WString& path) noexcept
{
    return HasAttributes(path, FILE_ATTRIBUTE_ENCRYPTED, 0);
}

bool File::IsLocked(const WString& path) noexcept
{
    const FileHandle file(Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING));
    return !IsHandle(file.get()) && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

SharedHandle File::Lock(const WString& path)
{
    const HANDLE file = Open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    if (!IsHandle(file))
    {
        const DWORD code = ::GetLastError();
        std::string message = "Could not lock the binary before secure loading. File: ";
        message.append(StringUtilities::TruncateToAscii(path));
        throw Win32Exception(message, code);
    }
    return SharedHandle(file);
}

bool File::IsCreatePermissonAvailable(const WString& folder)
{
    if (folder.empty())
    {
        throw std::runtime_error("The provided folder is empty");
    }
    using Seconds = std::chrono::seconds;
    const auto now = std::chrono::duration_cast<Seconds>(std::chrono::system_clock::now().time_since_epoch());
    auto seed = static_cast<std::uint64_t>(now.count());
    // Another may take the name first, and a link that leads nowhere counts as no file.
    for (int tries = 0; tries < 16; ++tries, ++seed)
    {
        const WString name = GenerateNewFileName(folder, ".tmp"_w, 8, seed);
        const FileHandle file(
            Open(name, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, CREATE_NEW));
        if (IsHandle(file.get()))
        {
            return true;
        }
        if (::GetLastError() != ERROR_FILE_EXISTS)
        {
            return false;
        }
    }
    return false;
}

bool File::IsWritePermissonAvailable(const WString& fileName)
{
    if (fileName.empty())
    {
        throw std::runtime_error("The provided filename is empty");
    }
    if (!Exists(fileName))
    {
        return false;
    }
    // What a failure gives isn't null, which alone would count as a no.
    const FileHandle file(Open(fileName, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING));
    return file != nullptr;
}

void File::CreateNewEmptyFile(const WString& path)
{
    const FileHandle file(Open(path, GENERIC_READ, FILE_SHARE_READ, CREATE_NEW));
    if (!IsHandle(file.get()))
    {
        throw Win32Exception("Failed to create empty file!");
    }
}

void File::Delete(const WString& path)
{
    if (!::DeleteFileW(path.c_str()) && ::GetLastError() != ERROR_FILE_NOT_FOUND)
    {
        throw FileSystemException("DeleteFile failed.", path);
    }
}

} // namespace Quoll::Utilities
