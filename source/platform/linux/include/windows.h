// The part of the Win32 interface that this library uses, for Linux.
//
// Library code calls the platform by its own names and includes <windows.h>; on Windows the SDK
// answers, here these headers do. What stands here works and says what differs; what doesn't
// work isn't declared, so that using it stops the compiler. Only the ...W forms exist.
#pragma once

#include "win32/types.h"

#include "win32/errors.h"

#include "win32/completion.h"
#include "win32/files.h"
#include "win32/handles.h"
#include "win32/locale.h"
#include "win32/locks.h"
#include "win32/memory.h"
#include "win32/modules.h"
#include "win32/paths.h"
#include "win32/pipes.h"
#include "win32/processes.h"
#include "win32/security.h"
#include "win32/services.h"
#include "win32/text.h"
#include "win32/threadpool.h"
#include "win32/time.h"
#include "win32/timers.h"
#include "win32/versions.h"
#include "win32/waits.h"
