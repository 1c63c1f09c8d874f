#include "Quoll/DataFilter.h"
#include "Quoll/UtcTime.h"
#include "support/MessageOf.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

using Texts = std::vector<WString>;

DataFilter Make(const WString& field, int filterOperator, const WString& values)
{
    DataFilter filter;
    filter.SetField(field);
    filter.SetFilterOperator(static_cast<FilterOperator>(filterOperator));
    filter.SetValue(values);
    return filter;
}

// What each operator from 0 to 6 says about the value, as digits: 1 for a rejection.
template<class Value>
std::string RejectionsOf(const WString& values, Value value)
{
    std::string result;
    for (int filterOperator = 0; filterOperator <= 6; ++filterOperator)
    {
        result += DataFilter::FilterField("f"_w, value, {Make("f"_w, filterOperator, values)}) ? '1' : '0';
    }
    return result;
}

template<class Exception, class Value>
std::string RefusalOf(const WString& item, Value value)
{
    return Tests::MessageOf<Exception>([&] { RejectionsOf(item, value); });
}

} // namespace

TEST(DataFilterTest, PartsAreStored)
{
    EXPECT_EQ(DataFilter().GetFilterOperator(), FilterOperator::Equal);
    EXPECT_EQ(DataFilter().GetValue(), Texts());
    const DataFilter filter = Make(" \r\na b\t \n"_w, 3, "a,, b,"_w);
    EXPECT_EQ(filter.GetField(), WString("a b\t"_w));
    EXPECT_EQ(filter.GetFilterOperator(), FilterOperator::Less);
    EXPECT_EQ(filter.GetValue(), (Texts{"a"_w, " b"_w}));
}

TEST(DataFilterTest, OperatorsInSql)
{
    const WideLiteral texts[] = {"="_w, "<>"_w, ">"_w, "<"_w, ">="_w, "<="_w};
    for (int i = 0; i < 6; ++i)
    {
        EXPECT_EQ(DataFilter::OperatorToSQL(static_cast<FilterOperator>(i)), texts[i]);
    }
    EXPECT_EQ(Tests::MessageOf<std::runtime_error>([] { DataFilter::OperatorToSQL(static_cast<FilterOperator>(6)); }),
              "Given operator is unknown and cannot converted to SQL operator");
}

TEST(DataFilterTest, OneSomeOrNoItemDecides)
{
    // Equal, not equal, greater, less, greater or equal, less or equal, unknown.
    EXPECT_EQ(RejectionsOf("b,d"_w, WString("a"_w).c_str()), "1010100");
    EXPECT_EQ(RejectionsOf("b,d"_w, WString("b"_w).c_str()), "0110000");
    EXPECT_EQ(RejectionsOf("b,d"_w, WString("c"_w).c_str()), "1000000");
    EXPECT_EQ(RejectionsOf("b,d"_w, WString("d"_w).c_str()), "0101000");
    EXPECT_EQ(RejectionsOf("b,d"_w, WString("e"_w).c_str()), "1001010");
    EXPECT_EQ(RejectionsOf(""_w, WString("a"_w).c_str()), "1011110");
}

TEST(DataFilterTest, TextIsComparedByUnitsAndThenByLength)
{
    const WString withNul("a\0b"_w);
    EXPECT_EQ(RejectionsOf("a"_w, withNul.c_str()), "0111000");
    EXPECT_EQ(RejectionsOf("a"_w, WStringView(withNul)), "1001010");
    EXPECT_EQ(RejectionsOf("A"_w, static_cast<const WChar*>("a"_w)), "1001010");
    EXPECT_EQ(RejectionsOf("10"_w, WStringView("9"_w)), "1001010");
    EXPECT_EQ(RejectionsOf("\xEF\xBF\xBF"_w, WStringView("\xF0\x90\x80\x80"_w)), "1010100"); // U+FFFF, a pair
    EXPECT_EQ(RejectionsOf("a"_w, static_cast<const WChar*>(nullptr)), "1010100");
}

TEST(DataFilterTest, NumbersAreReadAsCReadsThem)
{
    EXPECT_EQ(RejectionsOf("10"_w, 9), "1010100");
    EXPECT_EQ(RejectionsOf(" \t\n\v\f\r-0012abc"_w, -12), "0111000");
    EXPECT_EQ(RejectionsOf("2147483647,-2147483648"_w, 0), "1000000");
    EXPECT_EQ(RejectionsOf("+18446744073709551615"_w, std::uint64_t{18'446'744'073'709'551'615U}), "0111000");
    EXPECT_EQ(RejectionsOf("-1"_w, 18'446'744'073'709'551'615ULL), "0111000");
    EXPECT_EQ(RejectionsOf("-18446744073709551615"_w, 1UL), "0111000");
    EXPECT_EQ(RejectionsOf(WString(1'000'000, ' ') + WString(1'000'000, '0') + "7"_w, 7), "0111000");

    for (const WideLiteral& item : {"x"_w, " "_w, "+-1"_w, "- 1"_w, "\xC2\xA0"_w, "\xD9\xA1"_w})
    {
        EXPECT_EQ(RefusalOf<std::invalid_argument>(item, 0), "invalid stoi argument");
        EXPECT_EQ(RefusalOf<std::invalid_argument>(item, 0UL), "invalid stoull argument");
    }
    for (const WideLiteral& item : {"2147483648"_w, "-2147483649"_w, "99999999999999999999999"_w})
    {
        EXPECT_EQ(RefusalOf<std::out_of_range>(item, 0), "stoi argument out of range");
    }
    for (const WideLiteral& item : {"18446744073709551616"_w, "-18446744073709551616"_w})
    {
        EXPECT_EQ(RefusalOf<std::out_of_range>(item, 0UL), "stoull argument out of range");
    }
}

TEST(DataFilterTest, MomentsAreReadAsLocalTime)
{
    const UtcTime moment(2021, 3, 4, 5, 6, 7, 8, true);
    UtcTime later = moment;
    later.AddMilliseconds(1);
    const WString item = moment.ToString(UtcTime::StringValue::FileTimeHex, true);
    EXPECT_EQ(RejectionsOf(item, moment), "0111000");
    EXPECT_EQ(RejectionsOf(item, later), "1001010");
    EXPECT_EQ(RejectionsOf("0000000000000000"_w, UtcTime()), "0111000");
    EXPECT_THROW(RejectionsOf("x"_w, moment), std::invalid_argument);
}

TEST(DataFilterTest, ItemsAreReadUntilOneDecides)
{
    EXPECT_FALSE(DataFilter::FilterField("f"_w, 1, {Make("f"_w, 0, "1,x"_w)}));
    EXPECT_TRUE(DataFilter::FilterField("f"_w, 1, {Make("f"_w, 1, "1"_w), Make("f"_w, 0, "x"_w)}));
    EXPECT_FALSE(DataFilter::FilterField("f"_w, 1, {Make("g"_w, 0, "x"_w), Make("f"_w, 6, "x"_w)}));
    EXPECT_THROW(DataFilter::FilterField("f"_w, 1, {Make("f"_w, 0, "2,x"_w)}), std::invalid_argument);
}

TEST(DataFilterTest, EveryFilterOfTheFieldMustHold)
{
    const std::vector<DataFilter> filters = {Make("n"_w, 2, "10"_w), Make("m"_w, 0, "1"_w), Make("n"_w, 3, "20"_w)};
    EXPECT_FALSE(DataFilter::FilterField("n"_w, 15, filters));
    EXPECT_TRUE(DataFilter::FilterField("n"_w, 10, filters));
    EXPECT_TRUE(DataFilter::FilterField("n"_w, 20, filters));
    EXPECT_FALSE(DataFilter::FilterField("N"_w, 0, filters));
    EXPECT_FALSE(DataFilter::FilterField("n\0"_w, 0, filters));
    EXPECT_FALSE(DataFilter::FilterField("n"_w, 0, {}));
}

} // namespace Quoll::Utilities
