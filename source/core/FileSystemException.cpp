#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"

#include "core/ErrorCategory.h"

#include <platform/native_path.h>

#include <windows.h>

namespace Quoll::Utilities
{

namespace
{

bool IsPrintable(const std::filesystem::path& path)
{
    try
    {
        static_cast<void>(path.u8string());
        return true;
    }
    catch (const std::system_error&)
    {
        return false;
    }
    catch (const std::range_error&)
    {
        return false;
    }
}

// The standard base prints its paths while it is constructed, and throws for one that it can't.
std::filesystem::path BasePath(const WString& path)
{
    std::filesystem::path native;
    if (Platform::PathToNative(path, native) && IsPrintable(native))
    {
        return native;
    }
    return StringUtilities::TruncateToAscii(path);
}

std::error_code Code(std::uint32_t code) noexcept
{
    return {static_cast<int>(code), Win32Category()};
}

} // namespace

FileSystemException::FileSystemException(const std::string& message, const WString& path)
    : FileSystemException(message, path, WString(), ::GetLastError())
{
}

FileSystemException::FileSystemException(const std::string& message, const WString& path, std::uint32_t errorCode)
    : FileSystemException(message, path, WString(), errorCode)
{
}

FileSystemException::FileSystemException(const std::string& message, const WString& path, const WString& secondPath)
    : FileSystemException(message, path, secondPath, ::GetLastError())
{
}

FileSystemException::FileSystemException(const std::string& message, const WString& path, const WString& secondPath,
                                         std::uint32_t errorCode)
    : std::filesystem::filesystem_error(message, BasePath(path), BasePath(secondPath), Code(errorCode))
    , m_baseText(ErrorText(message, errorCode))
    , m_path(path)
    , m_secondPath(secondPath)
    , m_message(StringUtilities::TruncateToAscii(FileSystemException::GetErrorMessage()))
{
}

FileSystemException::FileSystemException(const FileSystemException& other) = default;
FileSystemException& FileSystemException::operator=(const FileSystemException& other) = default;
FileSystemException::~FileSystemException() = default;

const char* FileSystemException::what() const noexcept
{
    return m_message.c_str();
}

WString FileSystemException::GetErrorMessage() const
{
    using namespace Quoll::Literals;
    return StringUtilities::Utf8ToUtf16(m_baseText) + " "_w + m_path + " "_w + m_secondPath;
}

} // namespace Quoll::Utilities
