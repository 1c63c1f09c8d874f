// The category of Windows error codes, and the text that exceptions begin with.
#pragma once

#include <cstdint>
#include <string>
#include <system_error>

namespace Quoll::Utilities
{

const std::error_category& Win32Category() noexcept;

/// The context, ": " unless the context is empty, and the code's text. The context ends at its
/// first NUL.
std::string ErrorText(const std::string& context, std::uint32_t code);

} // namespace Quoll::Utilities
