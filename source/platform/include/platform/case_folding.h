// Case of single wide units, in the user's locale.
#pragma once

#include "Quoll/WideString.h"

namespace Quoll::Platform
{

// The platform's own mapping on Windows, the C library's UTF-8 tables elsewhere; a unit that is half
// of a surrogate pair, or whose other case needs two units, stays.
WChar ToUpperUnit(WChar unit) noexcept;
WChar ToLowerUnit(WChar unit) noexcept;

} // namespace Quoll::Platform
