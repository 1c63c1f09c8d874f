// How long a text may grow by replacing.
#pragma once

#include <cstddef>
#include <stdexcept>

namespace Quoll::Utilities
{

constexpr std::size_t LongestReplaced = std::size_t{1} << 28;

// Throws std::length_error for a text above the limit that has grown.
inline void CheckReplacedLength(std::size_t length, std::size_t originalLength)
{
    if (length > LongestReplaced && length > originalLength)
    {
        throw std::length_error("the replaced text is too long");
    }
}

} // namespace Quoll::Utilities
