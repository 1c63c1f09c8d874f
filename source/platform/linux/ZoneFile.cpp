#include "platform/linux/ZoneFile.h"

#include "platform/linux/Calendar.h"

#include <algorithm>

namespace Quoll::Platform
{

namespace
{

// Moments are kept where their sum with any offset is far from overflow.
constexpr std::int64_t earliestMoment = -(std::int64_t{1} << 59);
constexpr std::int64_t latestMoment = std::int64_t{1} << 59;

constexpr std::size_t longestName = 255;

struct Header
{
    char version = 0;
    std::uint32_t utcFlags = 0;
    std::uint32_t standardFlags = 0;
    std::uint32_t leapSeconds = 0;
    std::uint32_t transitions = 0;
    std::uint32_t times = 0;
    std::uint32_t nameBytes = 0;

    // Of the data that follow, whose moments have 4 or 8 bytes.
    std::uint64_t DataSize(std::uint64_t momentSize) const noexcept
    {
        return transitions * (momentSize + 1) + times * std::uint64_t{6} + nameBytes + leapSeconds * (momentSize + 4) +
               standardFlags + utcFlags;
    }
};

// Bytes in big-endian order. Nobody reads past the end: Take gives an empty view there.
class Bytes
{
public:
    explicit Bytes(std::string_view bytes) noexcept
        : m_rest(bytes)
    {
    }

    std::string_view Rest() const noexcept
    {
        return m_rest;
    }

    std::string_view Take(std::uint64_t size) noexcept
    {
        const auto part = size <= m_rest.size() ? m_rest.substr(0, static_cast<std::size_t>(size)) : std::string_view();
        m_rest.remove_prefix(part.size());
        return part;
    }

private:
    std::string_view m_rest;
};

std::uint64_t Unsigned(std::string_view bytes) noexcept
{
    std::uint64_t value = 0;
    for (const char byte : bytes)
    {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

std::int64_t Signed(std::string_view bytes) noexcept
{
    const std::uint64_t value = Unsigned(bytes);
    return bytes.size() == 4 ? static_cast<std::int32_t>(value) : static_cast<std::int64_t>(value);
}

bool ReadHeader(Bytes& bytes, Header& header) noexcept
{
    const std::string_view text = bytes.Take(44);
    if (text.empty() || text.substr(0, 4) != "TZif")
    {
        return false;
    }
    const auto count = [&](std::size_t index) {
        return static_cast<std::uint32_t>(Unsigned(text.substr(20 + 4 * index, 4)));
    };
    header = {.version = text[4],
              .utcFlags = count(0),
              .standardFlags = count(1),
              .leapSeconds = count(2),
              .transitions = count(3),
              .times = count(4),
              .nameBytes = count(5)};
    return true;
}

// One block of data, whose size has been checked.
class Block
{
public:
    Block(const Header& header, std::size_t momentSize, Bytes bytes) noexcept
        : m_momentSize(momentSize)
        , m_moments(bytes.Take(header.transitions * std::uint64_t{momentSize}))
        , m_indices(bytes.Take(header.transitions))
        , m_times(bytes.Take(header.times * std::uint64_t{6}))
        , m_names(bytes.Take(header.nameBytes))
        , m_leaps(bytes.Take(header.leapSeconds * std::uint64_t{momentSize + 4}))
    {
    }

    bool Read(Zone& zone) const
    {
        return ReadTimes(zone) && ReadTransitions(zone);
    }

private:
    bool ReadTimes(Zone& zone) const
    {
        zone.times.clear();
        if (m_times.empty() || m_times.size() > std::size_t{6} * 256)
        {
            return false;
        }
        for (std::size_t at = 0; at < m_times.size(); at += 6)
        {
            const std::int64_t offset = Signed(m_times.substr(at, 4));
            const unsigned flag = static_cast<unsigned char>(m_times[at + 4]);
            const std::size_t start = static_cast<unsigned char>(m_times[at + 5]);
            const std::string_view name = m_names.substr(std::min(start, m_names.size()), longestName);
            const std::size_t end = name.find('\0');
            if (flag > 1 || end == std::string_view::npos || offset <= -90'000 || offset >= 93'600)
            {
                return false;
            }
            zone.times.push_back({.offset = static_cast<std::int32_t>(offset),
                                  .daylight = flag == 1,
                                  .name = std::string(name.substr(0, end))});
        }
        return true;
    }

    bool ReadTransitions(Zone& zone) const
    {
        zone.transitions.reserve(m_indices.size());
        std::size_t leap = 0;
        std::int64_t correction = 0;
        std::int64_t last = INT64_MIN;
        for (std::size_t i = 0; i < m_indices.size(); ++i)
        {
            const std::int64_t moment = Signed(m_moments.substr(i * m_momentSize, m_momentSize));
            const auto time = static_cast<std::uint8_t>(m_indices[i]);
            if (time >= zone.times.size() || (i != 0 && moment <= last))
            {
                return false;
            }
            last = moment;
            for (; leap < m_leaps.size() && LeapMoment(leap) <= moment; leap += m_momentSize + 4)
            {
                correction = Signed(m_leaps.substr(leap + m_momentSize, 4));
            }
            const std::int64_t near = std::min(std::max(moment, earliestMoment), latestMoment);
            const std::int64_t corrected = near - correction + SecondsToUnixEpoch;
            if (!zone.transitions.empty() && corrected < zone.transitions.back().moment)
            {
                return false;
            }
            zone.transitions.push_back({.moment = corrected, .time = time});
        }
        return true;
    }

    std::int64_t LeapMoment(std::size_t at) const noexcept
    {
        return Signed(m_leaps.substr(at, m_momentSize));
    }

    std::size_t m_momentSize;
    std::string_view m_moments;
    std::string_view m_indices;
    std::string_view m_times;
    std::string_view m_names;
    std::string_view m_leaps;
};

// A newline, a rule or nothing, a newline.
bool ReadFooter(std::string_view text, Zone& zone)
{
    const std::size_t end = text.find('\n', 1);
    if (text.empty() || text.front() != '\n' || end == std::string_view::npos)
    {
        return false;
    }
    const std::string_view rule = text.substr(1, end - 1);
    zone.rule = rule.empty() ? std::nullopt : ParseZoneRule(rule);
    return rule.empty() || zone.rule;
}

} // namespace

std::optional<Zone> ParseZoneFile(std::string_view text)
{
    Bytes bytes(text);
    Header header;
    std::size_t momentSize = 4;
    if (!ReadHeader(bytes, header))
    {
        return std::nullopt;
    }
    if (header.version >= '2') // the first block is for old readers
    {
        momentSize = 8;
        const std::uint64_t size = header.DataSize(4);
        if (bytes.Take(size).size() != size || !ReadHeader(bytes, header))
        {
            return std::nullopt;
        }
    }
    std::optional<Zone> zone(std::in_place);
    const std::uint64_t size = header.DataSize(momentSize);
    const std::string_view data = bytes.Take(size);
    const bool good = data.size() == size && Block(header, momentSize, Bytes(data)).Read(*zone) &&
                      (momentSize == 4 || ReadFooter(bytes.Rest(), *zone));
    if (!good)
    {
        zone.reset();
    }
    return zone;
}

} // namespace Quoll::Platform
