// What is thrown when a text can't be converted.
#pragma once

#include "Quoll/WideString.h"

#include <string_view>

namespace Quoll::Utilities
{

enum class Encoding
{
    Utf16 = 0,
    Utf8 = 1
};

/// Throws ConversionException; a wide source shows as its bytes, the low one of a unit first.
struct ConversionFailure
{
    std::string_view message;
    std::string_view source;
    Encoding from;
    Encoding to;

    [[noreturn]] static void Throw(std::string_view message, std::string_view source, Encoding from, Encoding to);
    [[noreturn]] static void Throw(std::string_view message, WStringView source, Encoding from, Encoding to);
};

} // namespace Quoll::Utilities
