#include "Quoll/DataPagination.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

namespace Quoll::Utilities
{

namespace
{

constexpr int Lowest = std::numeric_limits<int>::min();

// The nearest number of 24 bits, ties to even. A double holds everything that is rounded here exactly, or, of a
// quotient, more than twice the bits.
double Round24(double value)
{
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);
    return std::ldexp(std::nearbyint(std::ldexp(fraction, 24)), exponent - 24);
}

int CountSlowly(std::uint32_t items, int perPage)
{
    const double pages = std::ceil(Round24(Round24(items) / Round24(perPage)));
    return perPage != 0 && pages >= Lowest && pages <= std::numeric_limits<int>::max() ? static_cast<int>(pages)
                                                                                       : Lowest;
}

} // namespace

TEST(DataPaginationTest, KnownCounts)
{
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    const std::tuple<std::uint32_t, int, int> cases[] = {{10, 3, 4},
                                                         {0, 10, 0},
                                                         {9, 3, 3},
                                                         {10, -3, -3},
                                                         {0, 0, Lowest},
                                                         {10, 0, Lowest},
                                                         {most, 1, Lowest},
                                                         {most, 2, Lowest},
                                                         {most, -2, Lowest},
                                                         {16'777'217, 1, 16'777'216},
                                                         {16'777'219, 1, 16'777'220},
                                                         {2'147'483'583, 1, 2'147'483'520},
                                                         {2'147'483'584, 1, Lowest}};
    for (const auto& [items, perPage, pages] : cases)
    {
        EXPECT_EQ(DataPaginationHelper::getTotalPages(items, perPage), pages) << items << " " << perPage;
    }
}

TEST(DataPaginationTest, EachStepHasSinglePrecision)
{
    std::uint32_t random = 1;
    for (int i = 0; i < 200'000; ++i)
    {
        random = random * 1'664'525 + 1'013'904'223;
        const std::uint32_t items = random >> (i % 32);
        random = random * 1'664'525 + 1'013'904'223;
        const auto perPage = static_cast<int>(random) >> (i / 32 % 32);
        ASSERT_EQ(DataPaginationHelper::getTotalPages(items, perPage), CountSlowly(items, perPage))
            << items << " " << perPage;
    }
}

TEST(DataPaginationTest, PagesAreBroughtIntoRange)
{
    const auto validated = [](int page, int perPage, std::uint32_t items) {
        DataPaginationHelper::validatePageNumber(page, perPage, items);
        return page;
    };
    EXPECT_EQ(validated(99, 3, 10), 4);
    EXPECT_EQ(validated(4, 3, 10), 4);
    EXPECT_EQ(validated(2, 3, 10), 2);
    EXPECT_EQ(validated(-1, 3, 10), 1);
    EXPECT_EQ(validated(5, 3, 0), 1);
    EXPECT_EQ(validated(5, 0, 10), 1);
    EXPECT_EQ(validated(5, -1, 10), 1);
}

} // namespace Quoll::Utilities
