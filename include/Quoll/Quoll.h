// The whole interface of the library.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/Errors.h"
#include "Quoll/HandleDeleters.h"
#include "Quoll/InvalidParameter.h"
#include "Quoll/Locks.h"
#include "Quoll/NativePath.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/StringUtilities.h"
#include "Quoll/StructuredException.h"
#include "Quoll/Synchronization.h"
#include "Quoll/WideString.h"
#include "Quoll/WindowsTypes.h"
