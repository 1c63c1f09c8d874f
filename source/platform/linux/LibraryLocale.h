// Locales of the C library.
#pragma once

#include "LocaleData.h"

namespace Quoll::Platform
{

/// The data of an installed locale; null if there is none of that name, or its text can't be decoded. It changes no
/// thread's locale. Throws LocaleShortage.
std::shared_ptr<const LocaleData> ReadLibraryLocale(const std::string& name);

} // namespace Quoll::Platform
