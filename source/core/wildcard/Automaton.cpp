#include "core/wildcard/Automaton.h"
#include "core/regex/Program.h"

#include <algorithm>
#include <bit>
#include <tuple>
#include <utility>

namespace Quoll::Utilities::Wildcard
{

namespace
{

constexpr std::size_t BitsPerWord = 64;

// A word that stays empty stands before the first, so that each has one to its left.
constexpr std::size_t WordOf(std::size_t state) noexcept
{
    return state / BitsPerWord + 1;
}

constexpr std::uint64_t BitOf(std::size_t state) noexcept
{
    return std::uint64_t{1} << (state % BitsPerWord);
}

} // namespace

Automaton::Automaton(const Pattern& pattern)
    : m_last(pattern.elements.size())
    , m_hasLineEnds(pattern.hasLineEnds)
{
    const std::size_t words = WordOf(m_last) + 1;
    for (auto* const states : {&m_any, &m_repeats, &m_stars, &m_free})
    {
        states->resize(words);
    }
    for (std::size_t i = 0; i < m_last; ++i)
    {
        const Element& element = pattern.elements[i];
        const std::size_t word = WordOf(i + 1);
        const Word bit = BitOf(i + 1);
        m_stars[WordOf(i)] |= element.afterStar ? BitOf(i) : 0;
        m_repeats[word] |= element.repeats ? bit : 0;
        if (element.IsLiteral())
        {
            m_literals.push_back({element.unit, word, bit});
        }
        else
        {
            (element.empty ? m_free : m_any)[word] |= bit;
        }
    }
    m_stars.back() |= pattern.endsWithStar ? BitOf(m_last) : 0;
    for (std::size_t word = 0; word < words; ++word)
    {
        m_lastStar.push_back(m_stars[word] != 0 || word == 0 ? word : m_lastStar.back());
    }
    MergeLiterals();
}

void Automaton::MergeLiterals()
{
    const auto key = [](const Entry& entry) {
        return std::tie(entry.unit, entry.word);
    };
    std::sort(m_literals.begin(), m_literals.end(),
              [key](const Entry& left, const Entry& right) { return key(left) < key(right); });
    std::size_t kept = 0;
    for (const Entry& entry : m_literals)
    {
        if (kept > 0 && key(m_literals[kept - 1]) == key(entry))
        {
            m_literals[kept - 1].states |= entry.states;
        }
        else
        {
            m_literals[kept++] = entry;
        }
    }
    m_literals.resize(kept);
}

// The states of a word that the next unit enters, if it is the right one.
Automaton::Word Automaton::Entered(const Words& from, std::size_t word) const noexcept
{
    return from[word] << 1 | from[word - 1] >> (BitsPerWord - 1) | (from[word] & m_repeats[word]);
}

void Automaton::Advance(const Words& from, Window window, WChar unit, Words& to) const noexcept
{
    const Word others = Regex::IsLineEnd(unit) ? 0 : ~Word{0};
    for (std::size_t word = window.low; word <= window.high; ++word)
    {
        to[word] = ((Entered(from, word) & m_any[word]) | (from[word] & m_stars[word])) & others;
    }
    const auto first = std::pair(Fold(unit), window.low);
    auto entry =
        std::lower_bound(m_literals.begin(), m_literals.end(), first,
                         [](const Entry& left, const auto& right) { return std::pair(left.unit, left.word) < right; });
    for (; entry != m_literals.end() && entry->unit == first.first && entry->word <= window.high; ++entry)
    {
        to[entry->word] |= Entered(from, entry->word) & entry->states;
    }
    if (m_hasLineEnds)
    {
        EnterFree(to, window);
    }
}

// No two such states follow each other.
void Automaton::EnterFree(Words& words, Window window) const noexcept
{
    for (std::size_t word = window.high; word > window.low; --word)
    {
        words[word] |= (words[word] << 1 | words[word - 1] >> (BitsPerWord - 1)) & m_free[word];
    }
    words[window.low] |= words[window.low] << 1 & m_free[window.low];
}

// Where a star has been reached it takes all that follows, and no state before it can do better. (Unless
// the text may have line ends, which no star takes.)
void Automaton::DropPassed(Words& words, Window& window) const noexcept
{
    for (std::size_t word = m_lastStar[window.high]; word >= window.low; word = m_lastStar[word - 1])
    {
        if (const Word reached = words[word] & m_stars[word]; reached != 0)
        {
            words[word] &= ~Word{0} << (BitsPerWord - 1 - static_cast<std::size_t>(std::countl_zero(reached)));
            window.low = word;
            return;
        }
    }
}

bool Automaton::Matches(WStringView text) const
{
    Words now(m_any.size());
    Words next(m_any.size());
    Window window{WordOf(0), WordOf(0)};
    now[window.low] = BitOf(0);
    for (const WChar unit : text)
    {
        now[window.low - 1] = 0;
        if (window.high < WordOf(m_last))
        {
            now[++window.high] = 0;
        }
        Advance(now, window, unit, next);
        for (; next[window.high] == 0; --window.high)
        {
            if (window.high == window.low)
            {
                return false;
            }
        }
        while (next[window.low] == 0)
        {
            ++window.low;
        }
        if (!m_hasLineEnds)
        {
            DropPassed(next, window);
        }
        now.swap(next);
    }
    return window.high == WordOf(m_last) && (now[window.high] & BitOf(m_last)) != 0;
}

} // namespace Quoll::Utilities::Wildcard
