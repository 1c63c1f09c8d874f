/// @file
/// Short tags of languages.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <cstdint>

namespace Quoll::Utilities
{

/// Turns the platform's language identifiers into tags. Threads: any.
class QUOLL_API Language
{
public:
    Language() = delete;

    /// The tag of a language identifier, whose low 10 bits are the primary language and the rest the sublanguage:
    ///
    ///     1  ar    9  en    14  hu    19  nl    24  ro
    ///     5  cz   10  es    16  it    20  no    25  ru
    ///     6  dk   11  fi    17  jp    21  pl    29  se
    ///     7  de   12  fr    18  ko    22  ptbr  31  tr
    ///
    /// The sublanguage counts for Chinese (4) alone: 1, 3 and 5 give "zhtw", all others "zhcn". Any other language
    /// gives an empty text. The name notwithstanding, some tags are neither countries of ISO 3166 nor
    /// languages of ISO 639.
    static WString IdToISO3166(std::uint16_t id);
};

} // namespace Quoll::Utilities
