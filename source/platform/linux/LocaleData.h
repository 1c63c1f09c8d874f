// What formatting takes from a locale: names, and the pictures of its own formats.
#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace Quoll::Platform
{

struct LocaleData
{
    WString shortDate;
    WString longDate;
    WString yearMonth;
    WString time;
    std::array<WString, 7> days; // Sunday first
    std::array<WString, 7> shortDays;
    std::array<WString, 12> months; // as they stand beside a day
    std::array<WString, 12> monthsAlone;
    std::array<WString, 12> shortMonths;
    std::array<WString, 2> halfDays; // before and after noon
    WString era;
};

/// Thrown for want of memory or descriptors, which says nothing of the locale; with the errno. It is no class of
/// exceptions: sanitizers can't look at one while there are no descriptors.
struct LocaleShortage
{
    int error;
};

const LocaleData& InvariantLocale();

/// The locale of a number, as the environment and the system's files are now; null for one that isn't known. Throws
/// LocaleShortage.
std::shared_ptr<const LocaleData> FindLocale(LCID locale);

/// The name of the locale for times in the text of /etc/locale.conf; empty if it has none.
std::string LocaleNameOf(std::string_view settings);

} // namespace Quoll::Platform
