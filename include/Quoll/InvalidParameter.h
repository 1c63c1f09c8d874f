// What happens when a secure print gets parameters that can't be honoured.
//
// A secure print whose buffer is too small, or that is called without a buffer or a format, calls
// the process's invalid-parameter handler. The default one ends the process (std::abort), so that
// no cut text goes on unnoticed; a test or a program that prefers to go on sets its own.
//
//     auto previous = SetInvalidParameterHandler([](const Quoll::WChar*, const Quoll::WChar*) {});
//     ...
//     SetInvalidParameterHandler(previous);
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

namespace Quoll::Utilities
{

/// Called on the thread of the faulty call, with errno set, before that call returns -1.
/// @param expression  the requirement that wasn't met, as text
/// @param function    the function that was called
using InvalidParameterHandler = void (*)(const WChar* expression, const WChar* function);

/// Sets the process's handler and returns the one that stood before, never null.
///
/// Null sets the default handler, which ends the process. Threads: any, at any time; a call that is
/// under way on another thread may still reach the previous handler.
QUOLL_API InvalidParameterHandler SetInvalidParameterHandler(InvalidParameterHandler handler) noexcept;

} // namespace Quoll::Utilities
