// Text for the fuzz targets of JSON.
#pragma once

#include "Quoll/WideString.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Quoll::Fuzz
{

inline void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

// UTF-16 behind a byte-order mark; else each byte is a unit, so that seeds are plain text.
inline WString TextOf(const std::uint8_t* data, std::size_t size)
{
    if (size < 2 || data[0] != 0xFF || data[1] != 0xFE)
    {
        return {data, data + size};
    }
    WString text(size / 2 - 1, 0);
    if (!text.empty())
    {
        std::memcpy(text.data(), data + 2, text.size() * sizeof(WChar));
    }
    return text;
}

} // namespace Quoll::Fuzz
