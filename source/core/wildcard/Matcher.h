// Matches a compiled wildcard text.
#pragma once

#include "core/wildcard/Automaton.h"

#include <optional>
#include <span>

namespace Quoll::Utilities::Wildcard
{

// Compares what stands before the first and behind the last star in place, and searches for the pieces between stars
// from left to right. The automaton takes over where that doesn't do: with repeats and line ends in the
// pattern, and where the search for a piece with `?` takes too long.
class Matcher
{
public:
    /// @throws std::regex_error  (error_badrepeat)
    explicit Matcher(WStringView pattern);

    bool Matches(WStringView text) const;

private:
    using Elements = std::span<const Element>;

    // Elements between two stars.
    struct Piece
    {
        std::size_t begin;
        std::size_t size;
        std::size_t literal; // offset of the first one; `size` if there is none
        bool isPlain;        // has no `?`
    };

    void FindPieces();
    std::optional<bool> MatchesPieces(WStringView text) const;
    std::optional<bool> Find(const Piece& piece, WStringView& rest, std::size_t& effort) const;

    Pattern m_pattern;
    std::vector<Piece> m_pieces;
    std::size_t m_prefix = 0; // number of elements before the first star
    std::size_t m_suffix = 0; // number of elements behind the last one
    bool m_hasStars = false;
    std::optional<Automaton> m_automaton;
};

} // namespace Quoll::Utilities::Wildcard
