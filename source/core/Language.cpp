#include "Quoll/Language.h"

#include <algorithm>
#include <iterator>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

struct Tag
{
    std::uint16_t primary;
    WideLiteral text;
};

// Ordered by the primary language.
constexpr Tag Tags[] = {
    {1, "ar"_w},  {5, "cz"_w},    {6, "dk"_w},  {7, "de"_w},  {9, "en"_w},  {10, "es"_w}, {11, "fi"_w},
    {12, "fr"_w}, {14, "hu"_w},   {16, "it"_w}, {17, "jp"_w}, {18, "ko"_w}, {19, "nl"_w}, {20, "no"_w},
    {21, "pl"_w}, {22, "ptbr"_w}, {24, "ro"_w}, {25, "ru"_w}, {29, "se"_w}, {31, "tr"_w},
};

constexpr unsigned Chinese = 4;

} // namespace

WString Language::IdToISO3166(std::uint16_t id)
{
    const unsigned primary = id & 0x3FFU;
    const unsigned sub = id >> 10U;
    if (primary == Chinese)
    {
        return sub == 1 || sub == 3 || sub == 5 ? "zhtw"_w : "zhcn"_w;
    }
    const auto* const found = std::lower_bound(std::begin(Tags), std::end(Tags), primary,
                                               [](const Tag& tag, unsigned sought) { return tag.primary < sought; });
    return found != std::end(Tags) && found->primary == primary ? WString(found->text) : WString();
}

} // namespace Quoll::Utilities
