// Blocks of Twofish as bytes, for its tests.
#pragma once

#include "cryptography/twofish/Kernels.h"

#include <algorithm>
#include <bit>
#include <random>
#include <span>
#include <vector>

namespace Quoll::Tests
{

using Bytes = std::vector<std::uint8_t>;

inline Bytes RandomBytes(std::mt19937& engine, std::size_t size)
{
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(engine()); });
    return bytes;
}

inline Bytes EncryptedBlock(const Twofish::Schedule& schedule, const Bytes& bytes)
{
    Twofish::Block block{};
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(block.data()));
    block = Encrypt(schedule, block);
    const auto* const first = reinterpret_cast<const std::uint8_t*>(block.data());
    return {first, first + sizeof(block)};
}

} // namespace Quoll::Tests
