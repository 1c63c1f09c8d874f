// The whole interface of the library.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/Errors.h"
#include "Quoll/InvalidParameter.h"
#include "Quoll/WideString.h"
#include "Quoll/WindowsTypes.h"
