// All that the clocks of a zone do, as one row of changes.
#pragma once

#include "platform/linux/ZoneFile.h"

namespace Quoll::Platform
{

struct ZoneChange
{
    std::int64_t moment = 0; // seconds since 1601-01-01 UTC
    const ZoneTime* before = nullptr;
    const ZoneTime* after = nullptr;

    /// By the clock that ends here.
    std::int64_t LocalMoment() const noexcept
    {
        return moment + before->offset;
    }
};

/// The changes from the beginning until after the year of a moment. What leaves the offset as it was
/// isn't one. Points into the zone.
class ZoneHistory
{
public:
    ZoneHistory(const Zone& zone, std::int64_t now);

    const std::vector<ZoneChange>& Changes() const noexcept
    {
        return m_changes;
    }

    /// The index of the first change after a moment; there may be none.
    std::size_t After(std::int64_t moment) const noexcept;

    const ZoneTime& At(std::int64_t moment) const noexcept;

private:
    void Add(std::int64_t moment, const ZoneTime& time);
    void AddYears(const ZoneRule& rule, const ZoneTime& daylight, std::int64_t start, unsigned firstYear,
                  unsigned lastYear);

    const ZoneTime* m_last; // what the clocks show at the end of the row
    std::vector<ZoneChange> m_changes;
};

/// The local year at a moment, and the second when it begins; by a clock that shows the time UTC does.
unsigned YearAt(std::int64_t localSecond) noexcept;
std::int64_t YearStart(unsigned year) noexcept;

} // namespace Quoll::Platform
