#include "filesystem/LineCollector.h"

#include "core/UnitBlock.h"

#include <utility>

namespace Quoll::Utilities
{

namespace
{

constexpr WChar END_OF_TEXT = 0x1A;

struct IsFeedOrEnd
{
    auto operator()(auto units) const noexcept
    {
        return (units == std::uint16_t{'\n'}) | (units == std::uint16_t{END_OF_TEXT});
    }
};

struct IsFeedReturnOrEnd
{
    auto operator()(auto units) const noexcept
    {
        return IsFeedOrEnd()(units) | (units == std::uint16_t{'\r'});
    }
};

} // namespace

LineCollector::LineCollector(std::vector<WString>& lines, LineRule rule) noexcept
    : m_lines(lines)
    , m_rule(rule)
{
}

bool LineCollector::Take(WStringView block)
{
    while (true)
    {
        const std::size_t length =
            m_rule == LineRule::Feeds ? CountUntil(block, IsFeedOrEnd()) : CountUntil(block, IsFeedReturnOrEnd());
        const WStringView part = block.substr(0, length);
        if (length == block.size() || block[length] == END_OF_TEXT)
        {
            m_begun.append(part);
            return length == block.size();
        }
        EndLine(part, block[length]);
        block.remove_prefix(length + 1);
    }
}

void LineCollector::EndLine(WStringView part, WChar end)
{
    if (m_begun.empty())
    {
        if (m_rule == LineRule::Feeds)
        {
            part.remove_suffix(part.ends_with(WChar{'\r'}) ? 1 : 0);
        }
        else if (part.empty() && end == '\n')
        {
            return;
        }
        m_lines.emplace_back(part);
        return;
    }
    m_begun.append(part);
    if (m_rule == LineRule::Feeds && m_begun.back() == '\r')
    {
        m_begun.pop_back();
    }
    m_lines.push_back(std::exchange(m_begun, {}));
}

void LineCollector::Finish()
{
    if (!m_begun.empty())
    {
        m_lines.push_back(std::exchange(m_begun, {}));
    }
}

} // namespace Quoll::Utilities
