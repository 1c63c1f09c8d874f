// The system's zone files, in the format TZif of RFC 9636, versions 1 to 4 and what is compatible.
#pragma once

#include "platform/linux/ZoneRule.h"

#include <vector>

namespace Quoll::Platform
{

struct ZoneTransition
{
    std::int64_t moment = 0; // seconds since 1601-01-01 UTC
    std::uint8_t time = 0;   // the index of what the clocks show from then on
};

struct Zone
{
    std::vector<ZoneTime> times{{}}; // the first one is that before all transitions
    std::vector<ZoneTransition> transitions;
    std::optional<ZoneRule> rule; // what holds after the last transition
};

/// Nothing if the bytes aren't a whole and consistent file; they may be anybody's. Moments that count
/// leap seconds are turned into those of the system's clock, which doesn't.
std::optional<Zone> ParseZoneFile(std::string_view bytes);

} // namespace Quoll::Platform
