// How text stands in a file, and its conversion to units and back, block by block.
#pragma once

#include "Quoll/File.h"

#include "core/utf/Transcoder.h"

namespace Quoll::Utilities
{

enum class TextForm
{
    Bytes, // each byte is a unit
    Utf8,
    Utf16Little,
    Utf16Big
};

// No sequence of bytes that stands for one character is longer.
constexpr std::size_t LONGEST_SEQUENCE = 4;

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";
constexpr std::string_view UTF16_LITTLE_MARK = "\xFF\xFE";
constexpr std::string_view UTF16_BIG_MARK = "\xFE\xFF";

// Form and mark of an encoding; bytes without a mark for an enumerator that isn't listed.
TextForm FormOf(FileEncoding encoding) noexcept;
std::string_view MarkOf(FileEncoding encoding) noexcept;

// Conversions as strict as the transcoder's, and with its results. A unit above 255 is no byte.
Utf::Progress ToUnits(TextForm form, std::string_view bytes, WChar* units, std::size_t capacity) noexcept;
Utf::Progress ToBytes(TextForm form, WStringView units, char* bytes, std::size_t capacity) noexcept;

} // namespace Quoll::Utilities
