#include "Quoll/Language.h"

#include <gtest/gtest.h>

#include <map>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

TEST(LanguageTest, EveryIdentifierHasItsTag)
{
    const std::map<unsigned, WString> tags = {
        {1, "ar"_w},  {5, "cz"_w},  {6, "dk"_w},  {7, "de"_w},  {9, "en"_w},  {10, "es"_w},   {11, "fi"_w},
        {12, "fr"_w}, {14, "hu"_w}, {16, "it"_w}, {17, "jp"_w}, {18, "ko"_w}, {19, "nl"_w},   {20, "no"_w},
        {21, "pl"_w}, {24, "ro"_w}, {25, "ru"_w}, {29, "se"_w}, {31, "tr"_w}, {22, "ptbr"_w},
    };
    for (unsigned id = 0; id <= 0xFFFF; ++id)
    {
        const unsigned sub = id / 1024;
        const auto tag = tags.find(id % 1024);
        const WString expected = id % 1024 == 4      ? sub == 1 || sub == 3 || sub == 5 ? "zhtw"_w : "zhcn"_w
                                 : tag != tags.end() ? tag->second
                                                     : WString();
        ASSERT_EQ(Language::IdToISO3166(static_cast<std::uint16_t>(id)), expected) << id;
    }
}

} // namespace Quoll::Utilities
