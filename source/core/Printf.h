// Printing wide text: one formatter for both targets, whose C runtimes disagree.
//
// A conversion is %[-+ #0][width][.precision][size]type; width and precision may be `*`.
//
//   size    hh h l ll j z t L w, I64, I32 and I (the width of a pointer)
//   d i u o x X   integers, as in C
//   e E f F g G a A   as in C; a long double is printed as the double nearest to it
//   s       a wide string; S and hs a byte string (UTF-8; what is ill-formed becomes U+FFFD);
//           ls, ws and lS wide; a null one prints "(null)". The precision limits the units, or bytes, read
//   c       a wide unit; C and hc a byte, U+FFFD if it isn't ASCII; lc, wc and lC wide
//   p       upper-case hexadecimal digits, as many as a pointer has
//   %       a percent sign; any other type prints itself and takes no argument
//
// %n is refused, as are a format that ends within a conversion, a width or precision above INT_MAX
// and a text longer than INT_MAX: the result is -1. The formatter itself takes a fixed amount of
// memory whatever the format says; who makes room for the whole text needs two bytes a unit, up to 4 GiB.
// The formatter is pure and is used by the Linux platform layer as well.
#pragma once

#include "Quoll/WideString.h"

#include <cstdarg>
#include <cstddef>

namespace Quoll::Utilities
{

/// Prints at most `capacity` - 1 units and a NUL, and returns the length that the whole text has, as
/// std::vsnprintf does. With a capacity of 0 nothing is written and `buffer` may be null.
int VPrint(WChar* buffer, std::size_t capacity, const WChar* format, std::va_list arguments) noexcept;
int Print(WChar* buffer, std::size_t capacity, const WChar* format, ...) noexcept;

} // namespace Quoll::Utilities
