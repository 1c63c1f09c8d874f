/// @file
/// Whether wide text passes for an IP address.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

namespace Quoll::Utilities
{

/// Loose checks of addresses: what passes isn't always one that a system would take.
///
/// Parts are what StringUtilities::Split finds at the delimiter without empty ones, and so end at the text's
/// first NUL; delimiters are counted in the whole text. Numbers are read behind white space of Unicode's
/// basic plane and an optional sign; what follows the digits is ignored, and a part that begins with no number
/// reads as 0.
///
/// Text of any length is fine; time is linear. Threads: any. Nothing is thrown.
class QUOLL_API IPRules
{
public:
    IPRules() = delete;

    /// Whether there are four parts and three dots, each part is at most 255 and not negative, and the first isn't 0.
    ///
    /// "1.2.3.4", "1.x.y.z" and "1. +2.3z.4" pass; "0.1.2.3", "1.2.3.256", "1.2.3" and "1.2..3.4" don't.
    static bool isValidIPv4(WStringView text) noexcept;

    /// Whether the text isn't empty, has at most seven colons, and each part between them holds a hexadecimal digit
    /// somewhere and isn't negative as a hexadecimal number, for which "0x" may stand before the digits.
    ///
    /// Neither the length nor the number of the parts matters: "::1", "fe80::1", "12345::", "xa::", "beef" and ":"
    /// pass; "g::", "-1::" and "1:2:3:4:5:6:7:8:9" don't.
    static bool isValidIPv6(WStringView text) noexcept;
};

} // namespace Quoll::Utilities
