// The pseudo-random numbers of the platform's C runtime, which are the same for the same seed on both
// targets. Each thread has a generator of its own.
#pragma once

#include <cstdint>

namespace Quoll::Platform
{

// On Windows this is the C runtime's own generator: a caller of rand() in this thread is disturbed.
void SeedRandom(std::uint32_t seed) noexcept;

/// From 0 to 32767.
int NextRandom() noexcept;

} // namespace Quoll::Platform
