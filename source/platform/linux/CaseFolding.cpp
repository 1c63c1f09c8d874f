// Case of single units, by the C library's tables of its UTF-8 locale, which is always built in.
#include <platform/case_folding.h>

#include <clocale>
#include <cwctype>

namespace Quoll::Platform
{

namespace
{

locale_t Utf8Locale() noexcept
{
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    return locale;
}

using Mapping = std::wint_t (*)(std::wint_t, locale_t) noexcept;

WChar Map(WChar unit, Mapping mapping) noexcept
{
    const locale_t locale = Utf8Locale();
    if (unit < 0x80 || locale == locale_t{} || (unit >= 0xD800 && unit <= 0xDFFF))
    {
        return unit;
    }
    const std::wint_t mapped = mapping(unit, locale);
    return mapped <= 0xFFFF ? static_cast<WChar>(mapped) : unit;
}

} // namespace

WChar ToUpperUnit(WChar unit) noexcept
{
    return unit >= u'a' && unit <= u'z' ? static_cast<WChar>(unit - 0x20) : Map(unit, towupper_l);
}

WChar ToLowerUnit(WChar unit) noexcept
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<WChar>(unit + 0x20) : Map(unit, towlower_l);
}

} // namespace Quoll::Platform
