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

    using Words = std::vector<Word>;

    // The first and the last word that hold active states; words outside hold anything.
    struct Window
    {
        std::size_t low;
        std::size_t high;
    };

    void MergeLiterals();
    Word Entered(const Words& from, std::size_t word) const noexcept;
    void Advance(const Words& from, Window window, WChar unit, Words& to) const noexcept;
    void EnterFree(Words& words, Window window) const noexcept;
    void DropPassed(Words& words, Window& window) const noexcept;

    std::vector<Entry> m_literals;       // by unit, then by word
    Words m_any;                         // entered by `?`
    Words m_repeats;                     // entered again by the same unit
    Words m_stars;                       // kept by any unit
    Words m_free;                        // entered from the state before for nothing
    std::vector<std::size_t> m_lastStar; // by word: itself or the last before it with a star
    std::size_t m_last;
    bool m_hasLineEnds;
};

} // namespace Quoll::Utilities::Wildcard
