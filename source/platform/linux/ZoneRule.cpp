#include "platform/linux/ZoneRule.h"

#include "platform/linux/Calendar.h"

namespace Quoll::Platform
{

namespace
{

constexpr bool IsDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

constexpr bool IsLetter(char c) noexcept
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// Takes the text apart from the front; what a step can't read it leaves.
class Scanner
{
public:
    explicit Scanner(std::string_view text) noexcept
        : m_rest(text)
    {
    }

    bool AtEnd() const noexcept
    {
        return m_rest.empty();
    }

    char Peek() const noexcept
    {
        return m_rest.empty() ? '\0' : m_rest.front();
    }

    bool Take(char c) noexcept
    {
        const bool found = !m_rest.empty() && m_rest.front() == c;
        m_rest.remove_prefix(found ? 1 : 0);
        return found;
    }

    // At most three digits, so that nothing overflows.
    bool Number(unsigned least, unsigned most, unsigned& value) noexcept
    {
        std::size_t length = 0;
        value = 0;
        while (length < m_rest.size() && length < 3 && IsDigit(m_rest[length]))
        {
            value = value * 10 + static_cast<unsigned>(m_rest[length++] - '0');
        }
        m_rest.remove_prefix(length);
        return length != 0 && value >= least && value <= most;
    }

    // Three letters or more, or anything of letters, digits and signs in angle brackets.
    bool Name(std::string& name)
    {
        const bool quoted = Take('<');
        std::size_t length = 0;
        while (length < m_rest.size() && IsOfName(m_rest[length], quoted))
        {
            ++length;
        }
        name = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return length >= 3 && (!quoted || Take('>'));
    }

    // [+-]hh[:mm[:ss]]
    bool Time(unsigned mostHours, std::int32_t& seconds) noexcept
    {
        const bool negative = Take('-');
        if (!negative)
        {
            Take('+');
        }
        unsigned hours = 0;
        unsigned minutes = 0;
        unsigned rest = 0;
        bool good = Number(0, mostHours, hours);
        if (good && Take(':'))
        {
            good = Number(0, 59, minutes);
            if (good && Take(':'))
            {
                good = Number(0, 59, rest);
            }
        }
        const auto value = static_cast<std::int32_t>((hours * 60 + minutes) * 60 + rest);
        seconds = negative ? -value : value;
        return good;
    }

private:
    static bool IsOfName(char c, bool quoted) noexcept
    {
        return IsLetter(c) || (quoted && (IsDigit(c) || c == '+' || c == '-'));
    }

    std::string_view m_rest;
};

bool ReadOffset(Scanner& scanner, std::int32_t& offset) noexcept
{
    const bool good = scanner.Time(24, offset);
    offset = -offset; // POSIX counts west of Greenwich
    return good;
}

bool ReadDay(Scanner& scanner, YearlyRule& rule) noexcept
{
    if (scanner.Take('M'))
    {
        rule.kind = YearlyRule::Kind::Weekday;
        return scanner.Number(1, 12, rule.month) && scanner.Take('.') && scanner.Number(1, 5, rule.week) &&
               scanner.Take('.') && scanner.Number(0, 6, rule.day);
    }
    if (scanner.Take('J'))
    {
        rule.kind = YearlyRule::Kind::DayOfYear;
        return scanner.Number(1, 365, rule.day);
    }
    rule.kind = YearlyRule::Kind::ZeroBasedDay;
    return scanner.Number(0, 365, rule.day);
}

bool ReadRule(Scanner& scanner, YearlyRule& rule) noexcept
{
    rule.second = 2 * 3600;
    return scanner.Take(',') && ReadDay(scanner, rule) && (!scanner.Take('/') || scanner.Time(167, rule.second));
}

bool ReadDaylight(Scanner& scanner, ZoneRule& rule)
{
    ZoneTime& daylight = rule.daylight.emplace();
    daylight.daylight = true;
    daylight.offset = rule.standard.offset + 3600;
    if (!scanner.Name(daylight.name))
    {
        return false;
    }
    if (!scanner.AtEnd() && scanner.Peek() != ',' && !ReadOffset(scanner, daylight.offset))
    {
        return false;
    }
    Scanner american(",M3.2.0,M11.1.0");
    Scanner& rules = scanner.AtEnd() ? american : scanner;
    return ReadRule(rules, rule.daylightStart) && ReadRule(rules, rule.daylightEnd);
}

} // namespace

std::optional<ZoneRule> ParseZoneRule(std::string_view text)
{
    std::optional<ZoneRule> rule(std::in_place);
    Scanner scanner(text);
    bool good = scanner.Name(rule->standard.name) && ReadOffset(scanner, rule->standard.offset);
    good = good && (scanner.AtEnd() || ReadDaylight(scanner, *rule)) && scanner.AtEnd();
    if (!good)
    {
        rule.reset();
    }
    return rule;
}

std::int64_t DayOf(const YearlyRule& rule, unsigned year) noexcept
{
    if (rule.kind == YearlyRule::Kind::Weekday)
    {
        return WeekdayOfMonth(year, rule.month, rule.week, rule.day);
    }
    const std::uint32_t start = ToDays({.year = year, .month = 1, .day = 1});
    if (rule.kind == YearlyRule::Kind::ZeroBasedDay)
    {
        return std::int64_t{start} + rule.day;
    }
    return std::int64_t{start} + rule.day - (IsLeapYear(year) && rule.day >= 60 ? 0 : 1);
}

std::int64_t LocalMoment(const YearlyRule& rule, unsigned year) noexcept
{
    return DayOf(rule, year) * 86'400 + rule.second;
}

} // namespace Quoll::Platform
