// The text of an error code.
#pragma once

#include <windows.h>

namespace Quoll::Platform
{

/// English text that ends in CR LF, NUL-terminated and static; null for a code without a text.
const WCHAR* SystemMessage(DWORD code) noexcept;

} // namespace Quoll::Platform
