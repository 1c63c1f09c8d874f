/// @file
/// The platform's structured exceptions (access violations and the like) as text.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"
#include "Quoll/WindowsTypes.h"

#include <cstdint>

namespace Quoll::Utilities
{

/// Describes structured exceptions, and raises the library's own.
///
/// The library never catches one itself: CheckException is meant as the filter expression of a
/// client's own guarded block. Linux has no such blocks; there a client may describe a record that it
/// made by hand.
class QUOLL_API Exception
{
public:
    /// Describes the exception in `text` and gives 1 (EXCEPTION_EXECUTE_HANDLER), always.
    ///
    /// For the library's own exception (code 0xE0000001) the text is the one that its first argument
    /// points to, empty if there is none. For any other it is the exception's name, CR LF and two
    /// blanks; behind that, for the integer and again for the control registers, if the context has
    /// them, what a print of these registers into a buffer of 12 units left there. The buffer is
    /// always too small: each print calls the process's invalid-parameter handler
    /// (see Quoll/InvalidParameter.h), of which the default one ends the process; with one that
    /// returns, each adds 12 units that begin with a NUL.
    ///
    /// A null pointer in place of any of the records reads as a record that says nothing. Threads: any,
    /// within an exception filter, too. Throws std::bad_alloc.
    static int CheckException(const EXCEPTION_POINTERS* pointers, WString& text);

    /// The name of an exception's code, "UNKNOWN" for a code without one. Throws std::bad_alloc.
    static WString GetExceptionType(std::uint32_t code);

    /// Raises the library's own exception, which can't be continued.
    ///
    /// `arguments` points to one word: the address of a NUL-terminated wide text, which has to live
    /// until the exception is handled. On Linux, where nothing can handle it, the process ends by
    /// SIGABRT, after a line in the system log.
    [[noreturn]] static void SetException(const std::uintptr_t* arguments);
};

} // namespace Quoll::Utilities
