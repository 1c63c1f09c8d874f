#include "Quoll/Guid.h"
#include "support/ForcedFailure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

std::string GetFailureOf(Tests::ForcedCall call)
{
    const Tests::ForcedFailure failure(call, ERROR_SUCCESS);
    try
    {
        return "made "_w == Guid::NewGuid() ? "" : "no failure";
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
}

// Two threads make identifiers; all differ.
void ExpectNoCollision(std::size_t countEach)
{
    std::array<std::vector<WString>, 2> made;
    const auto make = [countEach](std::vector<WString>& list) {
        list.reserve(countEach);
        std::generate_n(std::back_inserter(list), countEach, Guid::NewGuid);
    };
    std::thread other(make, std::ref(made[1]));
    make(made[0]);
    other.join();
    std::vector<WString>& all = made[0];
    all.insert(all.end(), std::make_move_iterator(made[1].begin()), std::make_move_iterator(made[1].end()));
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
    EXPECT_EQ(all.size(), 2 * countEach);
}

} // namespace

TEST(GuidTest, TextsAreRandomIdentifiersInLowerCase)
{
    std::array<std::size_t, 36 * 2> bits{}; // how often a digit was below 8, and how often odd
    constexpr std::size_t count = 1000;
    for (std::size_t i = 0; i < count; ++i)
    {
        const WString text = Guid::NewGuid();
        ASSERT_EQ(text.size(), 36u);
        for (std::size_t at = 0; at < text.size(); ++at)
        {
            const std::size_t digit = "0123456789abcdef"_w.find(text[at]);
            const bool isDash = at == 8 || at == 13 || at == 18 || at == 23;
            ASSERT_EQ(digit == WString::npos, isDash);
            ASSERT_TRUE(!isDash || text[at] == '-');
            bits[2 * at] += digit < 8 ? 1 : 0;
            bits[2 * at + 1] += digit % 2;
        }
        ASSERT_EQ(text[14], WChar{'4'});
        ASSERT_NE("89ab"_w.find(text[19]), WString::npos);
    }
    for (const std::size_t at : {0u, 7u, 9u, 12u, 15u, 17u, 20u, 24u, 35u})
    {
        EXPECT_NEAR(static_cast<double>(bits[2 * at]), count / 2.0, 100) << at; // more than six deviations
        EXPECT_NEAR(static_cast<double>(bits[2 * at + 1]), count / 2.0, 100) << at;
    }
}

TEST(GuidTest, ThreadsMakeNoTwoAlike)
{
    ExpectNoCollision(5'000);
}

TEST(GuidTest, TortureThreadsMakeNoTwoAlike)
{
    ExpectNoCollision(1'000'000);
}

TEST(GuidTest, EachStepThatFailsSaysSo)
{
    EXPECT_EQ(GetFailureOf(Tests::ForcedCall::UuidCreate), "Failed to create the GUID");
    EXPECT_EQ(GetFailureOf(Tests::ForcedCall::UuidToStringW), "Failed to convert the GUID to string");
    EXPECT_EQ(GetFailureOf(Tests::ForcedCall::RpcStringFreeW), "Failed to free the RPC string");
}

} // namespace Quoll::Utilities
