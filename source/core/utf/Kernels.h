// The instruction-set variants of the transcoder.
#pragma once

#include "core/utf/Plain.h"

#include <vector>

namespace Quoll::Utf
{

// One variant. All give the same result for the same input.
struct Kernel
{
    const char* name;
    Outcome (*decode)(DecodeCursor& cursor) noexcept;
    Outcome (*encode)(EncodeCursor& cursor) noexcept;
    std::size_t (*estimateDecode)(const unsigned char* text, std::size_t length) noexcept;
    std::size_t (*estimateEncode)(const Unit* wide, std::size_t length) noexcept;
};

// The variants that this processor can run, the plain one first and the best last.
const std::vector<Kernel>& Kernels();

extern const Kernel PlainKernel;

// For wider variants' ends, on processors that have them.
Outcome DecodeSsse3(DecodeCursor& cursor) noexcept;
Outcome EncodeSsse3(EncodeCursor& cursor) noexcept;

// Each adds its variant for x86-64 if this processor can run it; none elsewhere.
void AddSsse3Kernel(std::vector<Kernel>& kernels);
void AddAvx512Kernel(std::vector<Kernel>& kernels);

} // namespace Quoll::Utf
