// Dates and times by pictures such as "dddd, d MMMM yyyy".
#pragma once

#include "LocaleData.h"

namespace Quoll::Platform
{

/// The date has to exist; its day of the week is worked out.
WString FormatDatePicture(WStringView picture, const SYSTEMTIME& date, const LocaleData& locale);

/// `flags` are those of GetTimeFormatW that leave out or change parts.
WString FormatTimePicture(WStringView picture, const SYSTEMTIME& time, DWORD flags, const LocaleData& locale);

} // namespace Quoll::Platform
