// Finds the matches of a compiled regular expression.
#pragma once

#include "core/regex/Program.h"

#include <cstdint>
#include <vector>

namespace Quoll::Utilities::Regex
{

// Backtracks over a stack of its own, so that the thread's stack doesn't grow with the text. For
// regular patterns it marks which branch was tried where, and so tries none twice: a search is
// linear in the text. Others, and patterns whose marks would take too much memory, rely on
// the bound of steps.
class Matcher
{
public:
    static constexpr std::size_t Unset = static_cast<std::size_t>(-1);

    Matcher(const Program& program, WStringView text);

    // The next match that begins at `from` or later.
    /// @throws std::regex_error  (error_complexity, error_stack)
    bool Search(std::size_t from);
    // A match that begins at `at` and isn't empty.
    bool MatchNonEmptyAt(std::size_t at);

    std::size_t Begin(std::size_t group = 0) const noexcept
    {
        return m_slots[2 * group];
    }
    std::size_t End(std::size_t group = 0) const noexcept
    {
        return m_slots[2 * group + 1];
    }

private:
    // A branch to take, or a slot to restore.
    struct Entry
    {
        std::size_t position;
        std::uint32_t target : 31;
        std::uint32_t isSlot : 1;
    };

    void Restart(std::size_t at);
    bool MatchAt(std::size_t at);
    void Charge(std::uint64_t steps);
    bool Run(std::size_t pc, std::size_t position, std::size_t floor);
    bool Step(std::size_t& pc, std::size_t& position);
    bool StepConsuming(const Instruction& instruction, std::size_t& position) const;
    bool StepAsserting(const Instruction& instruction, std::size_t pc, std::size_t position);
    bool StepBackReference(std::uint32_t group, std::size_t& position);
    bool Backtrack(std::size_t floor, std::size_t& pc, std::size_t& position);
    bool LookAhead(const Instruction& instruction, std::size_t pc, std::size_t position);
    void Push(const Entry& entry);
    void SetSlot(std::uint32_t slot, std::size_t value);
    bool IsFirstVisit(std::size_t pc, std::size_t position);
    void ForgetVisits();
    bool IsWordBorder(std::size_t position) const noexcept;

    const Program& m_program;
    WStringView m_text;
    std::vector<std::size_t> m_slots;
    std::vector<Entry> m_stack;
    std::vector<std::uint32_t> m_splitNumbers; // by instruction
    std::size_t m_splits = 0;
    std::vector<bool> m_visited; // position major; empty when nothing is marked
    std::size_t m_firstVisited = 0;
    std::size_t m_lastVisited = 0;
    std::uint64_t m_steps;
    bool m_nonEmpty = false;
    std::size_t m_start = 0;
};

} // namespace Quoll::Utilities::Regex
