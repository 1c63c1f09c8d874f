#include "core/ConversionFailure.h"

#include "Quoll/Errors.h"

#include <string>

namespace Quoll::Utilities
{

namespace
{

const char* Name(Encoding encoding) noexcept
{
    switch (encoding)
    {
    case Encoding::Utf16:
        return "UTF-16";
    case Encoding::Utf8:
        return "UTF-8";
    }
    return "UNKNOWN";
}

} // namespace

template<typename Failure>
inline ConversionException::ConversionException(const Failure& failure)
    : m_message(failure.message)
{
    m_message += ". Can't convert bytes: ";
    for (const char byte : failure.source)
    {
        m_message += std::to_string(static_cast<signed char>(byte));
    }
    m_message.append(". from ").append(Name(failure.from)).append(" to ").append(Name(failure.to));
}

ConversionException::ConversionException(const ConversionException& other) = default;
ConversionException& ConversionException::operator=(const ConversionException& other) = default;
ConversionException::~ConversionException() = default;

const char* ConversionException::what() const noexcept
{
    return m_message.c_str();
}

void ConversionFailure::Throw(std::string_view message, std::string_view source, Encoding from, Encoding to)
{
    throw ConversionException(ConversionFailure{message, source, from, to});
}

void ConversionFailure::Throw(std::string_view message, WStringView source, Encoding from, Encoding to)
{
    std::string bytes;
    bytes.reserve(2 * source.size());
    for (const WChar unit : source)
    {
        const auto value = static_cast<unsigned>(unit);
        bytes += static_cast<char>(value & 0xFF);
        bytes += static_cast<char>(value >> 8);
    }
    Throw(message, std::string_view(bytes), from, to);
}

} // namespace Quoll::Utilities
