// MD5 as in RFC 1321.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Quoll::Md5
{

class Digest
{
public:
    void Update(std::span<const std::uint8_t> bytes) noexcept;

    // The digest of all bytes so far. Nothing may be added behind it.
    std::array<std::uint8_t, 16> Finish() noexcept;

private:
    static constexpr std::size_t BlockSize = 64;

    std::array<std::uint32_t, 4> m_state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    std::uint64_t m_size = 0; // in bytes; what doesn't fit the count of bits is dropped, as the RFC has it
    std::array<std::uint8_t, BlockSize> m_block{}; // the bytes behind the last whole block
};

} // namespace Quoll::Md5
