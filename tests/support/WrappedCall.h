// Takes platform calls over in the test program, without a hook in the product.
//
//     WRAPPED_CALL(BOOL, SetEvent, (HANDLE event))
//     {
//         return REAL_CALL(SetEvent)(event);
//     }
//
// stands in one source file; the name also stands in the link options (see CMakeLists.txt). Calls
// within the object that defines the function, and within other shared libraries, aren't taken.
#pragma once

#include <windows.h>

#include "NativeWrappedCall.h"
