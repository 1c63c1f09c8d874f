// The local time of a moment, where the platform layer knows it without asking.
#pragma once

#include <cstdint>

namespace Quoll::Platform
{

/// The local time of a moment, both in ticks since 1601, in whole milliseconds and exactly as the calls
/// GetTimeZoneInformation and SystemTimeToTzSpecificLocalTime together tell it. False if that has to be
/// asked of these: always on Windows, whose calls are the only source there; on Linux for moments
/// outside of 1970 to 2083 or with another change of the clocks within weeks, and without memory.
bool KnownLocalTime(std::uint64_t ticks, std::uint64_t& local) noexcept;

} // namespace Quoll::Platform
