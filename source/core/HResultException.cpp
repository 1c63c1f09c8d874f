#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"

namespace Quoll::Utilities
{

HResultException::HResultException(const std::string& message, std::int32_t errorCode)
    : m_errorCode(errorCode)
    , m_message(message.substr(0, message.find('\0')) + ". Error Code: " + StringUtilities::ToHexStr(errorCode))
{
}

HResultException::HResultException(const HResultException& other) = default;
HResultException::HResultException(HResultException&& other) noexcept = default;
HResultException& HResultException::operator=(const HResultException& other) = default;
HResultException& HResultException::operator=(HResultException&& other) noexcept = default;
HResultException::~HResultException() = default;

const char* HResultException::what() const noexcept
{
    return m_message.c_str();
}

std::int32_t HResultException::GetErrorCode() const noexcept
{
    return m_errorCode;
}

} // namespace Quoll::Utilities
