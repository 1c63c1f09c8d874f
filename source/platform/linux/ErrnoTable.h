// From errno to error codes, and the two lines that end every failing call.
#pragma once

#include <windows.h>

namespace Quoll::Platform
{

/// The error code that stands for an errno value. Never ERROR_SUCCESS: a value that the table
/// doesn't know, 0 included, is ERROR_GEN_FAILURE.
DWORD FromErrno(int value) noexcept;

/// Sets the last error; gives FALSE, so that a failing call ends with `return Fail(code)`.
BOOL Fail(DWORD code) noexcept;

/// As Fail, with the code that stands for the present errno.
BOOL FailWithErrno() noexcept;

} // namespace Quoll::Platform
