// Twofish with full keying: what a key is expanded to, and one block.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace Quoll::Twofish
{

// A key made ready. All of it is as secret as the key; it is wiped when it goes.
struct Schedule
{
    // At most 32 bytes, taken as if zeros followed up to the next of the three sizes: 16, 24 or 32 bytes.
    // A key of 8 bytes or fewer gets no rounds at all: then a block is only whitened.
    explicit Schedule(std::span<const std::uint8_t> key) noexcept;
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;
    ~Schedule();

    alignas(64) std::array<std::array<std::uint8_t, 256>, 4> boxes;   // the key-dependent S-boxes
    alignas(64) std::array<std::array<std::uint32_t, 256>, 4> tables; // the same, times the MDS matrix
    std::array<std::uint32_t, 40> subkeys;
    unsigned rounds;
};

// Four words, each of four bytes with the lowest first.
using Block = std::array<std::uint32_t, 4>;

Block Encrypt(const Schedule& schedule, const Block& block) noexcept;

} // namespace Quoll::Twofish
