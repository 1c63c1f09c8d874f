// Matches any pattern in time that is bounded by the product of the lengths divided by 64.
#pragma once

#include "core/wildcard/Pattern.h"

#include <cstdint>

namespace Quoll::Utilities::Wildcard
{

// State n says that the first n elements have been matched. All states that the text so far can have
// led to are kept as bits and advance at once, a word at a time.
class Automaton
{
public:
    explicit Automaton(const Pattern& pattern);

    bool Matches(WStringView text) const;

private:
    using Word = std::uint64_t;

    // States of one word that are entered by one unit.
    struct Entry
    {
        WChar unit;
        std::size_t word;
        Word states;
    };

    // The words that hold active states; others hold anything.
    struct Active
    {
        std::vector<Word> words;
        std::size_t low = 0;
        std::size_t high = 0;
    };

    Word Entered(const Active& from, std::size_t word) const noexcept;
    void Advance(const Active& from, WChar unit, Active& to) const noexcept;
    void EnterFree(Active& active) const noexcept;
    void DropPassed(Active& active) const noexcept;

    std::vector<Entry> m_literals; // by unit, then by word
    std::vector<Word> m_any;       // entered by `?`
    std::vector<Word> m_repeats;   // entered again by the same unit
    std::vector<Word> m_stars;     // kept by any unit
    std::vector<Word> m_free;      // entered from the state before for nothing
    std::size_t m_last;
    bool m_hasLineEnds;
};

} // namespace Quoll::Utilities::Wildcard
