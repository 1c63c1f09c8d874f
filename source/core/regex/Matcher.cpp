#include "core/regex/Matcher.h"

#include <algorithm>
#include <regex>

namespace Quoll::Utilities::Regex
{

namespace
{

constexpr std::uint64_t FixedSteps = 50'000'000;
constexpr std::uint64_t StepsPerUnit = 500;
constexpr std::size_t MostVisitBits = std::size_t{1} << 31; // 256 MiB
constexpr std::size_t LongestStack = std::size_t{1} << 23;  // entries: 128 MiB
constexpr std::uint64_t BitsPerStep = 512;                  // what forgetting visits pays

} // namespace

Matcher::Matcher(const Program& program, WStringView text)
    : m_program(program)
    , m_text(text)
    , m_slots(program.slots, Unset)
    , m_splitNumbers(program.code.size())
    , m_steps(FixedSteps + StepsPerUnit * text.size())
{
    for (std::size_t pc = 0; pc < program.code.size(); ++pc)
    {
        m_splitNumbers[pc] = static_cast<std::uint32_t>(m_splits);
        m_splits += program.code[pc].operation == Operation::Split ? 1 : 0;
    }
    if (program.regular && m_splits > 0 && text.size() < MostVisitBits / m_splits)
    {
        m_visited.resize((text.size() + 1) * m_splits);
    }
}

bool Matcher::Search(std::size_t from)
{
    m_nonEmpty = false;
    Restart(from);
    for (std::size_t at = from; at <= m_text.size(); ++at)
    {
        if (MatchAt(at))
        {
            return true;
        }
    }
    return false;
}

bool Matcher::MatchNonEmptyAt(std::size_t at)
{
    m_nonEmpty = true;
    Restart(at);
    return MatchAt(at);
}

// Takes back what the last match set; a search that failed has done so already.
void Matcher::Restart(std::size_t at)
{
    for (std::size_t pc = 0, position = 0; Backtrack(0, pc, position);)
    {
    }
    ForgetVisits();
    m_firstVisited = at;
    m_lastVisited = at;
}

bool Matcher::MatchAt(std::size_t at)
{
    m_start = at;
    return Run(0, at, 0);
}

// Takes steps off those that are left.
void Matcher::Charge(std::uint64_t steps)
{
    if (m_steps < steps)
    {
        throw std::regex_error(std::regex_constants::error_complexity);
    }
    m_steps -= steps;
}

// Runs until a match, or until the stack is back at `floor`.
bool Matcher::Run(std::size_t pc, std::size_t position, std::size_t floor)
{
    for (;;)
    {
        Charge(1);
        if (m_program.code[pc].operation == Operation::Match)
        {
            const bool whole = pc + 1 == m_program.code.size();
            if (!whole || !m_nonEmpty || position != m_start)
            {
                return true;
            }
        }
        else if (Step(pc, position))
        {
            continue;
        }
        if (!Backtrack(floor, pc, position))
        {
            return false;
        }
    }
}

// One instruction; false if it doesn't match.
bool Matcher::Step(std::size_t& pc, std::size_t& position)
{
    const Instruction& instruction = m_program.code[pc];
    const auto target = [pc](std::int32_t offset) {
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(pc) + offset);
    };
    switch (instruction.operation)
    {
    case Operation::Unit:
    case Operation::Any:
    case Operation::Class:
        ++pc;
        return StepConsuming(instruction, position);
    case Operation::Split:
        if (!IsFirstVisit(pc, position))
        {
            return false;
        }
        Push({position, static_cast<std::uint32_t>(target(instruction.second)) & 0x7FFFFFFF, 0});
        pc = target(instruction.first);
        return true;
    case Operation::Jump:
        pc = target(instruction.first);
        return true;
    case Operation::Save:
        SetSlot(instruction.value, position);
        ++pc;
        return true;
    case Operation::BackReference:
        ++pc;
        return StepBackReference(instruction.value, position);
    default:
    {
        const bool holds = StepAsserting(instruction, pc, position);
        pc = instruction.operation == Operation::LookAhead ? target(instruction.first) : pc + 1;
        return holds;
    }
    }
}

bool Matcher::StepConsuming(const Instruction& instruction, std::size_t& position) const
{
    if (position == m_text.size())
    {
        return false;
    }
    const WChar unit = m_text[position++];
    switch (instruction.operation)
    {
    case Operation::Unit:
        return unit == instruction.value;
    case Operation::Any:
        return !IsLineEnd(unit);
    default:
        return m_program.classes[instruction.value].Contains(unit);
    }
}

bool Matcher::StepAsserting(const Instruction& instruction, std::size_t pc, std::size_t position)
{
    switch (instruction.operation)
    {
    case Operation::Begin:
        return position == 0;
    case Operation::End:
        return position == m_text.size();
    case Operation::WordBorder:
        return IsWordBorder(position) == (instruction.value != 0);
    case Operation::CheckProgress:
        return m_slots[instruction.value] != position;
    default:
        return LookAhead(instruction, pc, position);
    }
}

// A group that took no part matches nothing, which is always there.
bool Matcher::StepBackReference(std::uint32_t group, std::size_t& position)
{
    if (Begin(group) == Unset || End(group) == Unset)
    {
        return true;
    }
    const WStringView wanted = m_text.substr(Begin(group), End(group) - Begin(group));
    // A step for each unit that is compared, so that the bound on the steps bounds the time.
    Charge(wanted.size());
    const bool there = m_text.substr(position).starts_with(wanted);
    position += there ? wanted.size() : 0;
    return there;
}

bool Matcher::LookAhead(const Instruction& instruction, std::size_t pc, std::size_t position)
{
    const std::size_t floor = m_stack.size();
    const bool found = Run(pc + 1, position, floor);
    // What the body didn't try is given up; slots are kept if it was to match, to be restored later.
    const bool wanted = instruction.value != 0;
    if (found && wanted)
    {
        const auto isBranch = [](const Entry& entry) {
            return !entry.isSlot;
        };
        m_stack.erase(std::remove_if(m_stack.begin() + static_cast<std::ptrdiff_t>(floor), m_stack.end(), isBranch),
                      m_stack.end());
    }
    else
    {
        while (m_stack.size() > floor)
        {
            if (m_stack.back().isSlot != 0)
            {
                m_slots[m_stack.back().target] = m_stack.back().position;
            }
            m_stack.pop_back();
        }
    }
    return found == wanted;
}

bool Matcher::Backtrack(std::size_t floor, std::size_t& pc, std::size_t& position)
{
    while (m_stack.size() > floor)
    {
        const Entry entry = m_stack.back();
        m_stack.pop_back();
        if (entry.isSlot == 0)
        {
            pc = entry.target;
            position = entry.position;
            return true;
        }
        m_slots[entry.target] = entry.position;
    }
    return false;
}

void Matcher::Push(const Entry& entry)
{
    if (m_stack.size() == LongestStack)
    {
        throw std::regex_error(std::regex_constants::error_stack);
    }
    m_stack.push_back(entry);
}

void Matcher::SetSlot(std::uint32_t slot, std::size_t value)
{
    Push({m_slots[slot], slot & 0x7FFFFFFF, 1});
    m_slots[slot] = value;
}

bool Matcher::IsFirstVisit(std::size_t pc, std::size_t position)
{
    if (m_visited.empty())
    {
        return true;
    }
    auto visited = m_visited[position * m_splits + m_splitNumbers[pc]];
    const bool first = !visited;
    visited = true;
    m_lastVisited = std::max(m_lastVisited, position);
    return first;
}

void Matcher::ForgetVisits()
{
    if (!m_visited.empty())
    {
        Charge((m_lastVisited + 1 - m_firstVisited) * m_splits / BitsPerStep);
        const auto at = [this](std::size_t position) {
            return m_visited.begin() + static_cast<std::ptrdiff_t>(position * m_splits);
        };
        std::fill(at(m_firstVisited), at(m_lastVisited + 1), false);
    }
}

bool Matcher::IsWordBorder(std::size_t position) const noexcept
{
    const bool before = position > 0 && IsWordUnit(m_text[position - 1]);
    const bool behind = position < m_text.size() && IsWordUnit(m_text[position]);
    return before != behind;
}

} // namespace Quoll::Utilities::Regex
