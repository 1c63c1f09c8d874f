#include "Quoll/UserLocalFormat.h"

#include "Quoll/StringUtilities.h"
#include "support/FailureOf.h"
#include "support/ForcedFailure.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;
using namespace Quoll::Utilities;
using namespace Quoll::Tests;

constexpr std::uint32_t Invariant = 0x7F;
constexpr SYSTEMTIME Moment{2023, 3, 0, 7, 15, 4, 9, 123};

std::string Date(std::uint32_t flags, const WString& format, std::uint32_t locale = Invariant)
{
    return StringUtilities::Utf16ToUtf8(UserLocalFormat::GetFormatDate(Moment, locale, flags, format));
}

std::string Time(std::uint32_t flags, const WString& format, std::uint32_t locale = Invariant)
{
    return StringUtilities::Utf16ToUtf8(UserLocalFormat::GetFormatTime(Moment, locale, flags, format));
}

TEST(UserLocalFormat, FollowsThePicture)
{
    EXPECT_EQ(Date(0, "dddd, d MMMM yyyy"_w), "Tuesday, 7 March 2023");
    EXPECT_EQ(Date(0, "yyyy'-'MM'-'dd"_w), "2023-03-07");
    EXPECT_EQ(Date(0, "'Stra\u00DFe \U0001F600' d"_w), "Stra\xC3\x9F"
                                                       "e \xF0\x9F\x98\x80 7");
    EXPECT_EQ(Date(0, "d\0M"_w), "7"); // a picture ends at its first NUL
    EXPECT_EQ(Date(0, "''"_w), "");
    EXPECT_EQ(Time(0, "HH:mm:ss"_w), "15:04:09");
    EXPECT_EQ(Time(2, "hh:mm:ss tt"_w), "03:04 PM");
    EXPECT_EQ(Time(0, "''"_w), "");
}

TEST(UserLocalFormat, AnEmptyPictureMeansTheLocalesOwn)
{
    EXPECT_EQ(Date(0, {}), "03/07/2023");
    EXPECT_EQ(Date(1, {}), "03/07/2023");
    EXPECT_EQ(Date(2, {}), "Tuesday, 07 March 2023");
    EXPECT_EQ(Date(8, {}), "2023 March");
    EXPECT_EQ(Time(0, {}), "15:04:09");
    EXPECT_EQ(Time(2, {}), "15:04");
    EXPECT_EQ(Date(1, {}, 0), Date(1, {}, 0x400));
    EXPECT_EQ(Time(0, {}, 0), Time(0, {}, 0x400));
    EXPECT_FALSE(Date(1, {}, 0x800).empty());
}

TEST(UserLocalFormat, FailuresTellTheCode)
{
    EXPECT_EQ(FailureOf([] { Date(1, "d"_w); }), Failure("GetDateFormatW failed", 1004));
    EXPECT_EQ(FailureOf([] { Date(3, {}); }), Failure("GetDateFormatW failed", 1004));
    EXPECT_EQ(FailureOf([] { Date(0, {}, 0x1234); }), Failure("GetDateFormatW failed", 87));
    EXPECT_EQ(FailureOf([] { UserLocalFormat::GetFormatDate({}, Invariant, 0, {}); }),
              Failure("GetDateFormatW failed", 87));
    EXPECT_EQ(FailureOf([] { Time(0, {}, 0x1234); }), Failure("GetTimeFormatW failed", 87));
    EXPECT_EQ(FailureOf([] { UserLocalFormat::GetFormatTime({0, 0, 0, 0, 24, 0, 0, 0}, Invariant, 0, {}); }),
              Failure("GetTimeFormatW failed", 87));

    // The text may have become longer since its length was asked for.
    const ForcedFailure dates(ForcedCall::GetDateFormatW, ERROR_INSUFFICIENT_BUFFER, {.nth = 2});
    const ForcedFailure times(ForcedCall::GetTimeFormatW, ERROR_INSUFFICIENT_BUFFER, {.nth = 2});
    EXPECT_EQ(FailureOf([] { Date(0, {}); }), Failure("GetDateFormatW failed", 122));
    EXPECT_EQ(FailureOf([] { Time(0, {}); }), Failure("GetTimeFormatW failed", 122));
}

} // namespace
