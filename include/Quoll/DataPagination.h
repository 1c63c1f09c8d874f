/// @file
/// Arithmetic of pages: how many there are, and which of them a request gets.
///
/// DataPaginationException in Quoll/Errors.h is for clients to throw; nothing here throws.
#pragma once

#include "Quoll/Api.h"

#include <cstdint>

namespace Quoll::Utilities
{

/// Arithmetic of pages, in single precision: counts above 16,777,216 lose their last digits, so the last page may be
/// one that has no item. Threads: any. Nothing is thrown.
///
///     DataPaginationHelper::getTotalPages(10, 3); // 4
///     int page = 99;
///     DataPaginationHelper::validatePageNumber(page, 3, 10); // page is 4
class QUOLL_API DataPaginationHelper
{
public:
    DataPaginationHelper() = delete;

    /// The number of pages that `items` take with `perPage` on each: the quotient of both as floats, a float itself,
    /// rounded up. A negative `perPage` gives a number that isn't positive; 0, and a quotient that no int holds, give
    /// -2147483648.
    static int getTotalPages(std::uint32_t items, int perPage) noexcept;

    /// Makes `page` the last page if it is above that, and then 1 if it is below 1: so 1 if there are no items, or
    /// getTotalPages gives nothing that is positive.
    static void validatePageNumber(int& page, int perPage, std::uint32_t items) noexcept;
};

} // namespace Quoll::Utilities
