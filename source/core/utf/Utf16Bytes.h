// UTF-16 as bytes, in either order of the bytes of a unit.
//
// Pure and strict, as the transcoder is: a conversion stops before the first half of a surrogate pair
// that stands alone. An odd last byte, and the first half of a pair at the end, are ill-formed as well.
#pragma once

#include "core/utf/Transcoder.h"

namespace Quoll::Utf
{

enum class ByteOrder
{
    Little,
    Big
};

// May leave anything in the room that it doesn't count as written.
Progress DecodeUtf16(std::string_view bytes, ByteOrder order, Unit* wide, std::size_t capacity) noexcept;
Progress EncodeUtf16(UnitView wide, ByteOrder order, char* bytes, std::size_t capacity) noexcept;

} // namespace Quoll::Utf
