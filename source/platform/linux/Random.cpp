// A linear congruential generator of 32 bits, of which the upper ones are shown. The numbers of the
// host's own rand() differ from those of the original platform, and all threads share them.
#include <platform/random.h>

namespace Quoll::Platform
{

namespace
{

constinit thread_local std::uint32_t state = 1;

} // namespace

void SeedRandom(std::uint32_t seed) noexcept
{
    state = seed;
}

int NextRandom() noexcept
{
    state = state * 214013 + 2531011;
    return static_cast<int>(state >> 16 & 0x7FFF);
}

} // namespace Quoll::Platform
