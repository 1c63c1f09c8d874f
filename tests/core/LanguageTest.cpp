#include "Quoll/Language.h"

#include <gtest/gtest.h>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

TEST(LanguageTest, PrimaryLanguagesHaveTags)
{
    const std::pair<int, WideLiteral> cases[] = {
        {0x0401, "ar"_w},   {0x0407, "de"_w},   {0x0807, "de"_w},   {0x0804, "zhcn"_w}, {0x0404, "zhtw"_w},
        {0x0C04, "zhtw"_w}, {0x1404, "zhtw"_w}, {0x1004, "zhcn"_w}, {0x0816, "ptbr"_w}, {0x041F, "tr"_w},
        {0x0005, "cz"_w},   {0x0006, "dk"_w},   {0x0009, "en"_w},   {0x000A, "es"_w},   {0x000B, "fi"_w},
        {0x000C, "fr"_w},   {0x000E, "hu"_w},   {0x0010, "it"_w},   {0x0011, "jp"_w},   {0x0012, "ko"_w},
        {0x0013, "nl"_w},   {0x0014, "no"_w},   {0x0015, "pl"_w},   {0x0018, "ro"_w},   {0x0019, "ru"_w},
        {0x001D, "se"_w},   {0xFC1F, "tr"_w},   {0x0408, ""_w},     {0x0000, ""_w},     {0x0020, ""_w},
        {0xFFFF, ""_w}};
    for (const auto& [id, tag] : cases)
    {
        EXPECT_EQ(Language::IdToISO3166(static_cast<std::uint16_t>(id)), WString(tag)) << id;
    }
}

} // namespace Quoll::Utilities
