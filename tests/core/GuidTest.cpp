#include "Quoll/Guid.h"
#include "Quoll/StringUtilities.h"
#include "support/ForcedFailure.h"
#include "support/MessageOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Quoll::Utilities
{

namespace
{

std::string GetFailureOf(Tests::ForcedCall call)
{
    const Tests::ForcedFailure failure(call, ERROR_SUCCESS);
    return Tests::MessageOf<std::runtime_error>(Guid::NewGuid);
}

void ExpectNoCollision(std::size_t countEach)
{
    std::vector<WString> made(2 * countEach);
    const auto half = made.begin() + static_cast<std::ptrdiff_t>(countEach);
    std::thread other([&] { std::generate(half, made.end(), Guid::NewGuid); });
    std::generate(made.begin(), half, Guid::NewGuid);
    other.join();
    std::sort(made.begin(), made.end());
    EXPECT_EQ(std::adjacent_find(made.begin(), made.end()), made.end());
}

} // namespace

TEST(GuidTest, TextsAreIdentifiersOfVersion4InLowerCase)
{
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_TRUE(std::regex_match(StringUtilities::Utf16ToUtf8(Guid::NewGuid()), form));
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
