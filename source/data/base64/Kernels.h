// The instruction-set variants of the Base64 coder.
#pragma once

#include "data/base64/Plain.h"

#include <vector>

namespace Quoll::Base64Coder
{

// One variant. All give the same result for the same input.
struct Kernel
{
    const char* name;
    void (*encodeBytes)(EncodeCursor<char>& cursor) noexcept;
    void (*encodeWide)(EncodeCursor<WChar>& cursor) noexcept;
    Outcome (*decodeBytes)(DecodeCursor<char>& cursor) noexcept;
    Outcome (*decodeWide)(DecodeCursor<WChar>& cursor) noexcept;
};

// The variants that this processor can run, the plain one first and the best last.
const std::vector<Kernel>& Kernels();

// Each adds its variant if this processor can run it.
void AddSsse3Kernel(std::vector<Kernel>& kernels);
void AddAvx2Kernel(std::vector<Kernel>& kernels);

} // namespace Quoll::Base64Coder
