// The variants of the one-bit mode.
#pragma once

#include "cryptography/twofish/OneBitFeedback.h"

#include <vector>

namespace Quoll::Twofish
{

// One variant. All give the same result for the same input; only the plain one takes a schedule without rounds.
struct Kernel
{
    const char* name;
    void (*encrypt)(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept;
    void (*decrypt)(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept;
};

// The variants that this processor can run, the plain one first and the best last.
std::vector<Kernel> Kernels();

// Side by side, by table look-ups: for any processor.
void EncryptWithTables(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept;
void DecryptWithTables(const Schedule& schedule, const Register& start, std::span<std::uint8_t> data) noexcept;

// Null if this processor can't run it.
const Kernel* VbmiKernel() noexcept;

} // namespace Quoll::Twofish
