#include "Quoll/Errors.h"

#include "core/ErrorCategory.h"

#include <windows.h>

#include <utility>

namespace Quoll::Utilities
{

namespace
{

std::string Win32Text(const std::string& context, std::uint32_t code)
{
    std::string text = ErrorText(context, code);
    if (text.find(": unknown error") != std::string::npos)
    {
        text += ". Error Code: " + std::to_string(code);
    }
    return text;
}

const char* OrUnknown(const char* message) noexcept
{
    return message != nullptr ? message : "Unknown exception";
}

} // namespace

Win32Exception::Win32Exception(const std::string& message)
    : Win32Exception(message, ::GetLastError())
{
}

Win32Exception::Win32Exception(const std::string& message, std::uint32_t errorCode)
    : std::system_error(static_cast<int>(errorCode), Win32Category(), message)
    , m_errorCode(errorCode)
    , m_message(Win32Text(message, errorCode))
{
}

Win32Exception::Win32Exception(const Win32Exception& other) = default;
Win32Exception::Win32Exception(Win32Exception&& other) noexcept = default;
Win32Exception& Win32Exception::operator=(const Win32Exception& other) = default;
Win32Exception& Win32Exception::operator=(Win32Exception&& other) noexcept = default;
Win32Exception::~Win32Exception() = default;

const char* Win32Exception::what() const noexcept
{
    return m_message.c_str();
}

std::uint32_t Win32Exception::GetErrorCode() const noexcept
{
    return m_errorCode;
}

std::uint32_t Win32Exception::Win32FromHRESULT(std::int32_t result) noexcept
{
    const auto bits = static_cast<std::uint32_t>(result);
    if ((bits & 0xFFFF0000) == (bits | 0x80070000))
    {
        return bits & 0xFFFF;
    }
    return bits == 0 ? ERROR_SUCCESS : ERROR_FUNCTION_FAILED;
}

DataFilterException::DataFilterException(const std::string& message)
    : std::runtime_error(message)
{
}

DataFilterException::DataFilterException(const DataFilterException& other) noexcept = default;
DataFilterException& DataFilterException::operator=(const DataFilterException& other) noexcept = default;
DataFilterException::~DataFilterException() = default;

DataPaginationException::DataPaginationException(const std::string& message)
    : std::runtime_error(message)
{
}

DataPaginationException::DataPaginationException(const DataPaginationException& other) noexcept = default;
DataPaginationException& DataPaginationException::operator=(const DataPaginationException& other) noexcept = default;
DataPaginationException::~DataPaginationException() = default;

MathError::MathError(const char* message)
    // NOLINTNEXTLINE(bugprone-throw-keyword-missing): a member that keeps the text
    : m_message(OrUnknown(message))
{
}

MathError::MathError(const MathError& other) noexcept = default;
MathError& MathError::operator=(const MathError& other) noexcept = default;
MathError::~MathError() = default;

const char* MathError::what() const noexcept
{
    return m_message.what();
}

RsaError::RsaError(const char* message)
    : m_message(OrUnknown(message))
{
}

RsaError::RsaError(const RsaError& other) = default;
RsaError::RsaError(RsaError&& other) noexcept = default;
RsaError& RsaError::operator=(const RsaError& other) = default;
RsaError& RsaError::operator=(RsaError&& other) noexcept = default;
RsaError::~RsaError() = default;

} // namespace Quoll::Utilities

namespace Quoll::Communication
{

ClosedConnectionException::ClosedConnectionException(const std::string& message)
    : std::runtime_error("Client connection is already closed: " + message)
{
}

ClosedConnectionException::ClosedConnectionException(const ClosedConnectionException& other) noexcept = default;
ClosedConnectionException&
ClosedConnectionException::operator=(const ClosedConnectionException& other) noexcept = default;
ClosedConnectionException::~ClosedConnectionException() = default;

} // namespace Quoll::Communication
