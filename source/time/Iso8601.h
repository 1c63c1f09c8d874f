// The forms of ISO 8601 text that are taken for a moment.
#pragma once

#include "Quoll/WideString.h"

namespace Quoll::Utilities
{

// Whether the text as a whole is, if its third unit is ":",
//
//     HH:mm:ss(.fff)*([+-]hh.mm|Z)*
//
// and else
//
//     yyyy[-]MM[-]dd([ ,T]HH:mm:ss(.fff)*)*([+-]hh.mm|Z)*
//
// where each letter is an ASCII digit and "." any unit but a line end.
bool IsIso8601Text(WStringView text) noexcept;

} // namespace Quoll::Utilities
