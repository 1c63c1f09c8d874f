#include "Quoll/StringUtilities.h"
#include "core/CharacterClass.h"

#include <platform/case_folding.h>

#include <algorithm>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

// Case of wide units. The standard's own facet doesn't exist for 16-bit units on every target.
class CaseFacet : public std::locale::facet
{
public:
    static std::locale::id id;

    void ToLower(WString& text) const
    {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](WChar unit) { return unit < 0x80 ? ToLowerAscii(unit) : Platform::ToLowerUnit(unit); });
    }

    void ToUpper(WString& text) const
    {
        std::transform(text.begin(), text.end(), text.begin(), [](WChar unit) {
            const bool lower = unit >= 'a' && unit <= 'z';
            return unit >= 0x80 ? Platform::ToUpperUnit(unit) : static_cast<WChar>(lower ? unit - 0x20 : unit);
        });
    }
};

std::locale::id CaseFacet::id;

std::locale UserLocale()
{
    try
    {
        return std::locale("");
    }
    catch (const std::runtime_error&)
    {
        return std::locale::classic(); // the environment names one that isn't installed
    }
}

std::locale MakeLocale()
{
    const std::locale classified(UserLocale(), std::locale::classic(), std::locale::ctype);
    return std::locale(classified, new CaseFacet);
}

const CaseFacet& Facet()
{
    static const CaseFacet& facet = std::use_facet<CaseFacet>(StringUtilities::GetLocale());
    return facet;
}

} // namespace

const std::locale& StringUtilities::GetLocale()
{
    static const std::locale* const locale = new std::locale(MakeLocale()); // used by threads that end late
    return *locale;
}

WString StringUtilities::ToLower(const WString& text)
{
    WString copy = text;
    ToLower(copy);
    return copy;
}

void StringUtilities::ToLower(WString& text)
{
    Facet().ToLower(text);
}

WString StringUtilities::ToUpper(const WString& text)
{
    WString copy = text;
    ToUpper(copy);
    return copy;
}

void StringUtilities::ToUpper(WString& text)
{
    Facet().ToUpper(text);
}

void StringUtilities::ToUpper(std::string& text)
{
    std::use_facet<std::ctype<char>>(GetLocale()).toupper(text.data(), text.data() + text.size());
}

int StringUtilities::CompareNoCase(const WString& left, const WString& right)
{
    const WChar* first = left.c_str();
    const WChar* second = right.c_str();
    while (*first != 0 && ToLowerAscii(*first) == ToLowerAscii(*second))
    {
        ++first;
        ++second;
    }
    return ToLowerAscii(*first) - ToLowerAscii(*second);
}

bool StringUtilities::ContainsNoCase(const WString& text, const WString& needle)
{
    return ToUpper(text).find(ToUpper(needle)) != WString::npos;
}

} // namespace Quoll::Utilities
