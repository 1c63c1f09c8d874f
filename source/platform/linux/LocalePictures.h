// Pictures out of the C library's formats.
#pragma once

#include "Quoll/WideString.h"

namespace Quoll::Platform
{

/// A locale's formats as strftime takes them.
struct LibraryFormats
{
    WString date;        // D_FMT
    WString time;        // T_FMT
    WString timeOfHalf;  // T_FMT_AMPM
    WString dateAndTime; // D_T_FMT
};

/// Each is empty if the formats don't say enough for it.
struct LocalePictures
{
    WString shortDate;
    WString longDate;
    WString yearMonth;
    WString time;
};

LocalePictures PicturesOf(const LibraryFormats& formats);

} // namespace Quoll::Platform
