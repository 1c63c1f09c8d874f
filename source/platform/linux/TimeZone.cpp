// The current zone. Each thread keeps the record that it gave last, with the text of TZ and the
// second of the clock that it is good for; another text or another second sends it to the shared
// source, which looks at the zone's file once a second.
#include "platform/linux/Calendar.h"
#include "platform/linux/ErrnoTable.h"
#include "platform/linux/LocalShifts.h"
#include "platform/linux/ZoneRecord.h"
#include "platform/linux/ZoneSource.h"

#include <platform/local_time.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <list>
#include <mutex>
#include <new>

#include <unistd.h>

using namespace Quoll::Platform;

namespace
{

// The variable TZ as it was when it was looked up, and the means to see that it still is: searching the
// environment would cost more than all else. Whoever arranges the array by hand and hides a change
// of TZ from these comparisons is found out in the next second.
class KeptVariable
{
public:
    bool IsSame() const noexcept
    {
        if (environ != m_environment || m_environment == nullptr || environ[m_index] != m_entry)
        {
            return false;
        }
        return m_present ? std::strcmp(m_entry, m_text) == 0
                         : environ[m_index + 1] == nullptr && std::strncmp(m_entry, "TZ=", 3) != 0;
    }

    // Null stands for the absent variable. What can't be kept is never the same.
    void Keep(const char* value) noexcept
    {
        m_environment = nullptr;
        m_present = value != nullptr;
        if (environ == nullptr || *environ == nullptr)
        {
            return;
        }
        for (m_index = 0; environ[m_index] + 3 != value && environ[m_index + 1] != nullptr; ++m_index)
        {
        }
        m_entry = environ[m_index];
        const std::size_t length = m_present ? strnlen(m_entry, sizeof(m_text)) : 0;
        if (length < sizeof(m_text) && (!m_present || m_entry + 3 == value))
        {
            std::memcpy(m_text, m_entry, length);
            m_text[length] = '\0';
            m_environment = environ;
        }
    }

private:
    char** m_environment = nullptr;
    std::size_t m_index = 0; // of the variable, or of the last one if it is absent
    const char* m_entry = nullptr;
    bool m_present = false;
    char m_text[64] = {};
};

// The calling thread's own copy.
struct Kept
{
    KeptVariable variable;
    std::int64_t second = -1;
    ZoneRecord record;
    const LocalShifts* shifts = nullptr; // null if there are none for the record
};

// The shifts of the records that were used, for ever, since threads hold on to them. A process sees few
// records in its life; what comes behind the last that has room goes without.
class ShiftStore
{
public:
    const LocalShifts* Get(const TIME_ZONE_INFORMATION& zone)
    {
        for (const Entry& entry : m_entries)
        {
            if (std::memcmp(&entry.zone, &zone, sizeof(zone)) == 0)
            {
                return &entry.shifts;
            }
        }
        constexpr std::size_t most = 16;
        return m_entries.size() < most ? &m_entries.emplace_back(zone).shifts : nullptr;
    }

private:
    struct Entry
    {
        explicit Entry(const TIME_ZONE_INFORMATION& record)
            : zone(record)
            , shifts(record)
        {
        }

        TIME_ZONE_INFORMATION zone;
        LocalShifts shifts;
    };

    std::list<Entry> m_entries; // which stay where they are
};

class SharedZone
{
public:
    static SharedZone& Instance()
    {
        static SharedZone& zone = *new SharedZone; // threads may ask until the process ends
        return zone;
    }

    void Get(const char* value, std::int64_t now, Kept& kept)
    {
        const std::lock_guard lock(m_mutex);
        const bool other = !m_source || !m_source->IsFrom(value);
        if (other)
        {
            m_source.reset();
            m_source.emplace(value);
        }
        const bool changed = other || (now != m_second && m_source->Refresh());
        m_second = now;
        m_record.until = changed ? m_record.from : m_record.until; // should memory run out, the next call goes on
        if (changed || now < m_record.from || now >= m_record.until)
        {
            m_record = MakeZoneRecord(m_source->Current(), now);
        }
        kept.shifts = m_shifts.Get(m_record.information);
        kept.record = m_record;
    }

private:
    std::mutex m_mutex;
    std::optional<ZoneSource> m_source;
    std::int64_t m_second = -1; // when the file was looked at
    ZoneRecord m_record;
    ShiftStore m_shifts;
};

// By members: whoever reads one of them next then finds it in one store.
void Copy(const TIME_ZONE_INFORMATION& from, TIME_ZONE_INFORMATION& to) noexcept
{
    to.Bias = from.Bias;
    std::memcpy(to.StandardName, from.StandardName, sizeof(to.StandardName));
    to.StandardDate = from.StandardDate;
    to.StandardBias = from.StandardBias;
    std::memcpy(to.DaylightName, from.DaylightName, sizeof(to.DaylightName));
    to.DaylightDate = from.DaylightDate;
    to.DaylightBias = from.DaylightBias;
}

// Looks everything up; FALSE without memory.
BOOL Renew(Kept& kept, std::int64_t now) noexcept
{
    const char* const value = secure_getenv("TZ");
    try
    {
        SharedZone::Instance().Get(value, now, kept);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    kept.variable.Keep(value);
    kept.second = now;
    return TRUE;
}

// Null, with the last error, without memory.
[[gnu::always_inline]] inline const Kept* CurrentZone() noexcept
{
    // A plain access, because a call for it is a third of the cost.
    [[gnu::tls_model("initial-exec")]] constinit static thread_local Kept kept;
    timespec clock{};
    clock_gettime(CLOCK_REALTIME_COARSE, &clock);
    const std::int64_t now = clock.tv_sec + SecondsToUnixEpoch;
    const bool isKept = now == kept.second && kept.variable.IsSame();
    return isKept || Renew(kept, now) != FALSE ? &kept : nullptr;
}

} // namespace

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone) noexcept
{
    const Kept* const kept = CurrentZone();
    if (kept == nullptr)
    {
        return TIME_ZONE_ID_INVALID;
    }
    Copy(kept->record.information, *zone);
    return kept->record.id;
}

bool Quoll::Platform::KnownLocalTime(std::uint64_t ticks, std::uint64_t& local) noexcept
{
    const Kept* const kept = CurrentZone();
    return kept != nullptr && kept->shifts != nullptr && kept->shifts->Convert(ticks, local);
}
