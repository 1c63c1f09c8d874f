// A zone's file or rule as the record that the platform describes zones with.
#pragma once

#include "platform/linux/ZoneFile.h"

#include <windows.h>

namespace Quoll::Platform
{

struct ZoneRecord
{
    TIME_ZONE_INFORMATION information{};
    DWORD id = TIME_ZONE_ID_UNKNOWN;
    std::int64_t from = 0;  // the record and its id hold from this second on,
    std::int64_t until = 0; // and before this one; since 1601-01-01 UTC
};

/// The record for the year that the zone's clocks show at this moment, in seconds since 1601-01-01.
ZoneRecord MakeZoneRecord(const Zone& zone, std::int64_t now);

} // namespace Quoll::Platform
