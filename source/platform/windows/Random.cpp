#include <platform/random.h>

#include <cstdlib>

namespace Quoll::Platform
{

static_assert(RAND_MAX == 0x7FFF);

void SeedRandom(std::uint32_t seed) noexcept
{
    std::srand(seed);
}

int NextRandom() noexcept
{
    return std::rand();
}

} // namespace Quoll::Platform
