#include "core/wildcard/Matcher.h"

#include <algorithm>
#include <functional>

namespace Quoll::Utilities::Wildcard
{

namespace
{

using Elements = std::span<const Element>;

// How many of the elements the text, which has as many units, fits one by one.
std::size_t FittingLength(Elements elements, const WChar* text) noexcept
{
    std::size_t at = 0;
    while (at < elements.size() && elements[at].Fits(text[at]))
    {
        ++at;
    }
    return at;
}

bool Fits(Elements elements, const WChar* text) noexcept
{
    return FittingLength(elements, text) == elements.size();
}

// Looks at all units, so that the compiler makes vector code of it.
bool HasLineEnd(WStringView text) noexcept
{
    bool found = false;
    for (const WChar unit : text)
    {
        found |= static_cast<bool>((unit == '\n') | (unit == '\r') | ((unit & 0xFFFE) == 0x2028));
    }
    return found;
}

// Removes the text up to the first occurrence of the literals, and it, from the front, if there is one; in linear
// time: where a unit doesn't fit, all that is known of the text is how it overlaps the literals' beginning.
bool FindPlain(Elements literals, WStringView& rest)
{
    const auto advance = [literals](const std::vector<std::size_t>& overlaps, std::size_t fitting, WChar folded) {
        while (fitting > 0 && literals[fitting].unit != folded)
        {
            fitting = overlaps[fitting - 1];
        }
        return literals[fitting].unit == folded ? fitting + 1 : 0;
    };
    std::vector<std::size_t> overlaps(literals.size());
    for (std::size_t i = 1; i < literals.size(); ++i)
    {
        overlaps[i] = advance(overlaps, overlaps[i - 1], literals[i].unit);
    }
    std::size_t fitting = 0;
    for (std::size_t at = 0; at < rest.size(); ++at)
    {
        fitting = advance(overlaps, fitting, Fold(rest[at]));
        if (fitting == literals.size())
        {
            rest.remove_prefix(at + 1);
            return true;
        }
    }
    return false;
}

} // namespace

Matcher::Matcher(WStringView pattern)
    : m_pattern(Parse(pattern))
{
    if (m_pattern.hasRepeats || m_pattern.hasLineEnds)
    {
        m_automaton.emplace(m_pattern);
    }
    else
    {
        FindPieces();
    }
}

void Matcher::FindPieces()
{
    const auto& elements = m_pattern.elements;
    const std::size_t size = elements.size();
    const auto endOfPiece = [&elements, size](std::size_t from) {
        while (from < size && !elements[from].afterStar)
        {
            ++from;
        }
        return from;
    };
    m_prefix = endOfPiece(0);
    m_hasStars = m_prefix < size || m_pattern.endsWithStar;
    for (std::size_t begin = m_prefix; begin < size;)
    {
        const std::size_t end = endOfPiece(begin + 1);
        if (end == size && !m_pattern.endsWithStar)
        {
            m_suffix = size - begin;
            break;
        }
        const Elements piece = Elements(elements).subspan(begin, end - begin);
        const auto literal = std::find_if(piece.begin(), piece.end(), std::mem_fn(&Element::IsLiteral));
        m_pieces.push_back(
            {begin, piece.size(), static_cast<std::size_t>(literal - piece.begin()),
             std::all_of(literal, piece.end(), std::mem_fn(&Element::IsLiteral)) && literal == piece.begin()});
        begin = end;
    }
}

// Removes the text up to the piece's first occurrence, and it, from the front. Nothing if that takes
// too long.
std::optional<bool> Matcher::Find(const Piece& piece, WStringView& rest, std::size_t& effort) const
{
    const Elements elements = Elements(m_pattern.elements).subspan(piece.begin, piece.size);
    if (rest.size() < piece.size)
    {
        return false;
    }
    if (piece.literal == piece.size)
    {
        rest.remove_prefix(piece.size);
        return true;
    }
    const Element& first = elements[piece.literal];
    const Elements behind = elements.subspan(piece.literal + 1);
    const WChar* const last = rest.data() + rest.size() - piece.size + piece.literal;
    for (const WChar* at = rest.data() + piece.literal; at <= last; ++at)
    {
        if (!first.Fits(*at))
        {
            continue;
        }
        const std::size_t fitting = FittingLength(behind, at + 1);
        if (fitting == behind.size())
        {
            rest.remove_prefix(static_cast<std::size_t>(at + 1 - rest.data()) + fitting);
            return true;
        }
        if (effort <= fitting)
        {
            effort = 0;
            return piece.isPlain ? std::optional(FindPlain(elements, rest)) : std::nullopt;
        }
        effort -= fitting;
    }
    return false;
}

// Nothing if it would take too long.
std::optional<bool> Matcher::MatchesPieces(WStringView text) const
{
    const Elements elements(m_pattern.elements);
    if (m_hasStars ? text.size() < elements.size() : text.size() != elements.size())
    {
        return false;
    }
    if (m_prefix > 0 && m_suffix > 0 &&
        (int{elements.front().Fits(text.front())} & int{elements.back().Fits(text.back())}) == 0)
    {
        return false; // mostly, and so one branch that is foreseen
    }
    if (!Fits(elements.first(m_prefix), text.data()) ||
        !Fits(elements.last(m_suffix), text.data() + text.size() - m_suffix))
    {
        return false;
    }
    WStringView rest = text.substr(m_prefix, text.size() - m_prefix - m_suffix);
    std::size_t effort = 4 * text.size() + 1;
    for (const Piece& piece : m_pieces)
    {
        if (const std::optional<bool> found = Find(piece, rest, effort); found != true)
        {
            return found;
        }
    }
    return !HasLineEnd(text);
}

bool Matcher::Matches(WStringView text) const
{
    if (m_automaton)
    {
        return m_automaton->Matches(text);
    }
    const std::optional<bool> matches = MatchesPieces(text);
    return matches ? *matches : Automaton(m_pattern).Matches(text);
}

} // namespace Quoll::Utilities::Wildcard
