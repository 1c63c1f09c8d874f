// Twofish in the mode of cipher feedback with one bit: a block of key stream is made for each bit of the text, of
// which its first bit is used, and the bit of the encrypted text is shifted into the register that the next
// block is made of.
//
// Bits go from the highest of a byte to the lowest. The schedule is only read: several threads may use one.
#pragma once

#include "cryptography/twofish/Schedule.h"

#include <array>
#include <cstdint>
#include <span>

namespace Quoll::Twofish
{

using Register = std::array<std::uint8_t, 16>;

void EncryptBits(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept;
void DecryptBits(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept;

} // namespace Quoll::Twofish
