// The register of the one-bit mode as numbers, of which the highest bit is the first.
#pragma once

#include "cryptography/twofish/OneBitFeedback.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace Quoll::Twofish
{

// The last 128 bits of a stream.
struct Window
{
    std::uint64_t high;
    std::uint64_t low;

    static Window Of(const Register& bytes) noexcept
    {
        Window window{};
        std::memcpy(&window, bytes.data(), sizeof(window));
        return {__builtin_bswap64(window.high), __builtin_bswap64(window.low)};
    }
    // What is left of it after some more bits, fewer than 64, with zeros in their place.
    Window After(unsigned bits) const noexcept
    {
        return bits == 0 ? *this : Window{high << bits | low >> (64 - bits), low << bits};
    }
    std::array<std::uint32_t, 4> Words() const noexcept
    {
        return {static_cast<std::uint32_t>(high >> 32), static_cast<std::uint32_t>(high),
                static_cast<std::uint32_t>(low >> 32), static_cast<std::uint32_t>(low)};
    }
    void Append(unsigned count, unsigned bits) noexcept
    {
        *this = After(count);
        low |= bits;
    }
};

} // namespace Quoll::Twofish
