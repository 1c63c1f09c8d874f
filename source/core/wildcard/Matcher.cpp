#include "core/wildcard/Matcher.h"

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
            return;
        }
        std::size_t literal = begin;
        while (literal < end && !elements[literal].IsLiteral())
        {
            ++literal;
        }
        m_pieces.push_back({begin, end - begin, literal - begin});
        begin = end;
    }
}

// Removes the text up to the piece's first occurrence, and it, from the front. False if there is none, or if no
// effort is left.
bool Matcher::Find(const Piece& piece, WStringView& rest, std::size_t& effort) const noexcept
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
            return false;
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
    if (!Fits(elements.first(m_prefix), text.data()) ||
        !Fits(elements.last(m_suffix), text.data() + text.size() - m_suffix))
    {
        return false;
    }
    WStringView rest = text.substr(m_prefix, text.size() - m_prefix - m_suffix);
    std::size_t effort = 4 * text.size() + 1;
    for (const Piece& piece : m_pieces)
    {
        if (!Find(piece, rest, effort))
        {
            return effort == 0 ? std::nullopt : std::optional(false);
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
