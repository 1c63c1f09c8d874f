#include "Quoll/DataPagination.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

namespace Quoll::Utilities
{

// Every operation rounds to a float: none is done wider, and there is no product to fuse with a sum.
static_assert(FLT_EVAL_METHOD == 0 && std::numeric_limits<float>::is_iec559);

namespace
{

constexpr int Overflow = std::numeric_limits<int>::min();

// The truncating conversion, with the processor's answer where C++ has none.
int Truncate(float value) noexcept
{
    constexpr float limit = 2147483648.0F;
    return value >= -limit && value < limit ? static_cast<int>(value) : Overflow;
}

} // namespace

int DataPaginationHelper::getTotalPages(std::uint32_t items, int perPage) noexcept
{
    if (perPage == 0)
    {
        return Overflow; // the quotient is infinite, or no number
    }
    const float quotient = static_cast<float>(items) / static_cast<float>(perPage);
    return Truncate(std::ceil(quotient));
}

void DataPaginationHelper::validatePageNumber(int& page, int perPage, std::uint32_t items) noexcept
{
    page = std::max(std::min(page, getTotalPages(items, perPage)), 1);
}

} // namespace Quoll::Utilities
