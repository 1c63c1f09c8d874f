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

constexpr std::uint64_t BitOf(std::size_t state) noexcept
{
    return std::uint64_t{1} << (state % BitsPerWord);
}

} // namespace

Automaton::Automaton(const Pattern& pattern)
    : m_last(pattern.elements.size())
    , m_hasLineEnds(pattern.hasLineEnds)
{
    const std::size_t words = m_last / BitsPerWord + 1;
    for (auto* const states : {&m_any, &m_repeats, &m_stars, &m_free})
    {
        states->resize(words);
    }
    for (std::size_t i = 0; i < m_last; ++i)
    {
        const Element& element = pattern.elements[i];
        const std::size_t word = (i + 1) / BitsPerWord;
        const Word bit = BitOf(i + 1);
        m_stars[i / BitsPerWord] |= element.afterStar ? BitOf(i) : 0;
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
Automaton::Word Automaton::Entered(const Active& from, std::size_t word) const noexcept
{
    const Word carry = word > from.low ? from.words[word - 1] >> (BitsPerWord - 1) : 0;
    return from.words[word] << 1 | carry | (from.words[word] & m_repeats[word]);
}

void Automaton::Advance(const Active& from, WChar unit, Active& to) const noexcept
{
    const bool lineEnd = Regex::IsLineEnd(unit);
    for (std::size_t word = from.low; word <= from.high; ++word)
    {
        to.words[word] = lineEnd ? 0 : (Entered(from, word) & m_any[word]) | (from.words[word] & m_stars[word]);
    }
    const auto first = std::pair(Fold(unit), from.low);
    auto entry =
        std::lower_bound(m_literals.begin(), m_literals.end(), first,
                         [](const Entry& left, const auto& right) { return std::pair(left.unit, left.word) < right; });
    for (; entry != m_literals.end() && entry->unit == first.first && entry->word <= from.high; ++entry)
    {
        to.words[entry->word] |= Entered(from, entry->word) & entry->states;
    }
}

// No two such states follow each other.
void Automaton::EnterFree(Active& active) const noexcept
{
    for (std::size_t word = active.high + 1; word-- > active.low;)
    {
        const Word carry = word > active.low ? active.words[word - 1] >> (BitsPerWord - 1) : 0;
        active.words[word] |= (active.words[word] << 1 | carry) & m_free[word];
    }
}

// Where a star has been reached it takes all that follows, and no state before it can do better. (Unless
// the text may have line ends, which no star takes.)
void Automaton::DropPassed(Active& active) const noexcept
{
    for (std::size_t word = active.high + 1; word-- > active.low;)
    {
        if (const Word reached = active.words[word] & m_stars[word]; reached != 0)
        {
            active.words[word] &= ~Word{0} << (BitsPerWord - 1 - static_cast<std::size_t>(std::countl_zero(reached)));
            active.low = word;
            return;
        }
    }
}

bool Automaton::Matches(WStringView text) const
{
    Active now{std::vector<Word>(m_any.size())};
    Active next{std::vector<Word>(m_any.size())};
    now.words[0] = 1;
    for (const WChar unit : text)
    {
        if (now.high + 1 < now.words.size())
        {
            now.words[++now.high] = 0;
        }
        Advance(now, unit, next);
        next.low = now.low;
        next.high = now.high;
        if (m_hasLineEnds)
        {
            EnterFree(next);
        }
        while (next.words[next.high] == 0)
        {
            if (next.high == next.low)
            {
                return false;
            }
            --next.high;
        }
        while (next.words[next.low] == 0)
        {
            ++next.low;
        }
        if (!m_hasLineEnds)
        {
            DropPassed(next);
        }
        std::swap(now, next);
    }
    return now.high == m_last / BitsPerWord && (now.words[now.high] & BitOf(m_last)) != 0;
}

} // namespace Quoll::Utilities::Wildcard
