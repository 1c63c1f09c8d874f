#include "time/Iso8601.h"

#include "support/IsoExpressions.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using namespace Quoll::Utilities;
using Tests::MatchesIsoExpression;

void ExpectSame(const WString& text)
{
    ASSERT_EQ(IsIso8601Text(text), MatchesIsoExpression(text)) << testing::PrintToString(text);
}

TEST(Iso8601, MatchesShortTailsAsTheExpressionsDo)
{
    const WStringView alphabet = "0:T-+Z x\n"_w;
    for (const WStringView prefix : {""_w, "20210304"_w, "2021-03-04"_w, "20210304 00:00:00"_w, "00:00:00"_w})
    {
        std::vector<WString> tails{WString(prefix)};
        for (std::size_t i = 0; i < tails.size() && tails[i].size() < prefix.size() + 4; ++i)
        {
            for (const WChar unit : alphabet)
            {
                tails.push_back(tails[i] + unit);
            }
        }
        for (const WString& text : tails)
        {
            ASSERT_NO_FATAL_FAILURE(ExpectSame(text));
        }
    }
}

TEST(Iso8601, MatchesLongTextsAsTheExpressionsDo)
{
    const std::vector<WStringView> pieces = {"T00:00:00"_w, " 12:34:56"_w, ".000"_w,      "T123"_w, "+001"_w,
                                             "+01:23"_w,    "-01923"_w,    "Z"_w,         "Z999"_w, "0"_w,
                                             ":"_w,         "00:00:00"_w,  "2021-03-04"_w};
    std::mt19937 random(3);
    std::size_t matches = 0;
    for (int i = 0; i < 20000; ++i)
    {
        WString text(pieces[pieces.size() - 1 - random() % 2]);
        for (std::size_t count = random() % 7; count > 0; --count)
        {
            text += pieces[random() % (random() % 16 == 0 ? pieces.size() : 9)];
        }
        if (random() % 8 == 0)
        {
            const WChar others[] = {'\r', 0x2028, 0x0661, 0, '0', 'T'};
            text[random() % text.size()] = others[random() % std::size(others)];
        }
        ASSERT_NO_FATAL_FAILURE(ExpectSame(text));
        matches += IsIso8601Text(text) ? 1 : 0;
    }
    EXPECT_GT(matches, 2000u);
}

TEST(Iso8601, TakesTextsOfAnyLength)
{
    WString text = "2021-03-04T05:06:07"_w;
    for (int i = 0; i < 1'000'000; ++i)
    {
        text += ".123"_w;
    }
    EXPECT_TRUE(IsIso8601Text(text));
    EXPECT_FALSE(IsIso8601Text(text + WChar{'x'}));
}

} // namespace
