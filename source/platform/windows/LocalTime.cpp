// Local times: the system's own calls alone know its zone.
#include <platform/local_time.h>

namespace Quoll::Platform
{

bool KnownLocalTime(std::uint64_t, std::uint64_t&) noexcept
{
    return false;
}

} // namespace Quoll::Platform
