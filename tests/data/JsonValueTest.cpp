#include "Quoll/JsonObject.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Quoll::Json;
using namespace Quoll::Literals;
using Quoll::WString;

TEST(JsonValue, IsNullAndEmptyWhenNew)
{
    const DataValue value;
    EXPECT_TRUE(value.IsNullValue() && value.IsEmpty() && !value.IsArray());
    EXPECT_EQ(value.GetString(), ""_w);
    EXPECT_EQ(value.GetStringValue(), ""_w);
    EXPECT_EQ(value.GetObject(), nullptr);
    EXPECT_EQ(value.GetIntValue(4), 4);
}

TEST(JsonValue, ConvertsNumbersAsTheRuntimeDoes)
{
    constexpr int largest = std::numeric_limits<int>::max();
    constexpr int smallest = std::numeric_limits<int>::min();
    constexpr std::uint64_t wide = std::numeric_limits<std::uint64_t>::max();
    const struct
    {
        WString text;
        EType type;
        int number;
        std::uint64_t wideNumber;
    } cases[] = {
        {"+5"_w, EType::Integer, 5, 5},
        {"+5"_w, EType::String, -7, 7},
        {"-1"_w, EType::String, -7, 7},
        {"-1"_w, EType::Integer, -1, wide},
        {"123"_w, EType::String, 123, 123},
        {"1"_w, EType::Boolean, 1, 1},
        {""_w, EType::String, -7, 7},
        {""_w, EType::Integer, 0, 0},
        {"-"_w, EType::Integer, 0, 0},
        {" \t007x9"_w, EType::Integer, 7, 7},
        {"2147483647"_w, EType::Integer, largest, 2147483647},
        {"2147483648"_w, EType::Integer, -7, 2147483648},
        {"-2147483648"_w, EType::Integer, smallest, 0u - std::uint64_t{2147483648}},
        {"-2147483649"_w, EType::Integer, -7, 0u - std::uint64_t{2147483649}},
        {"18446744073709551615"_w, EType::Integer, -7, wide},
        {"-18446744073709551615"_w, EType::Integer, -7, 1},
        {"18446744073709551616"_w, EType::Integer, -7, 7},
        {"99999999999999999999"_w, EType::String, -7, 7},
    };
    for (const auto& each : cases)
    {
        DataValue value;
        value.SetValue(each.text, each.type);
        EXPECT_EQ(value.GetIntValue(-7), each.number) << testing::PrintToString(each.text);
        EXPECT_EQ(value.GetUint64Value(7), each.wideNumber) << testing::PrintToString(each.text);
    }
}

TEST(JsonValue, ReadsBooleansOfTypeBooleanOnly)
{
    DataValue value;
    value.SetBooleanValue(BooleanToken(true));
    EXPECT_TRUE(value.GetBooleanValue(false));
    value.SetBooleanValue(BooleanToken());
    EXPECT_FALSE(value.GetBooleanValue(true));
    value.SetBooleanValue(BooleanToken("yes"_w));
    EXPECT_TRUE(value.GetBooleanValue(true));
    EXPECT_FALSE(value.GetBooleanValue(false));
    value.SetValue("true"_w);
    EXPECT_FALSE(value.GetBooleanValue(false));
}

TEST(JsonValue, TakesTheTypeOfTheFirstElement)
{
    DataValue value;
    value.AddIntValue(IntegerToken("1"_w));
    value.AddStringValue("a"_w);
    EXPECT_TRUE(value.IsArray() && !value.IsStringArray() && !value.IsIntValue());
    EXPECT_EQ(value.GetIntValue(0), 1);
    EXPECT_EQ(value.GetStringArray(), (std::vector<WString>{"1"_w, "a"_w}));
    EXPECT_EQ(value.GetString(), ""_w);
    EXPECT_EQ(value.GetStringValue(), "1"_w);
    value.AddEmptyArray();
    EXPECT_EQ(value.GetStringArray().size(), 2u);
    value.AddObject(nullptr);
    EXPECT_TRUE(value.IsObjectArray());
    EXPECT_EQ(value.GetStringArray().size(), 2u);

    DataValue empty;
    empty.AddEmptyArray();
    EXPECT_TRUE(empty.IsEmptyArrayValue() && empty.IsEmpty());
    empty.AddBooleanValue(BooleanToken(true));
    EXPECT_TRUE(!empty.IsEmptyArrayValue() && empty.GetBooleanValue(false));
}

// An operation changes the fields that it is about, and no others.
TEST(JsonValue, KeepsWhatAnOperationDoesNotMention)
{
    DataValue value;
    value.AddStringValue("a"_w);
    value.AddStringValue("b"_w);
    value.SetIntValue(IntegerToken("7"_w));
    EXPECT_TRUE(value.IsArray() && !value.IsIntValue());
    EXPECT_EQ(value.GetStringArray(), (std::vector<WString>{"7"_w}));

    value.SetObject(std::make_shared<DataObject>());
    EXPECT_TRUE(value.IsObjectArray());
    EXPECT_EQ(value.GetStringValue(), "7"_w);
    value.SetValue("text"_w);
    EXPECT_TRUE(value.IsStringArray());
    EXPECT_EQ(value.GetObjectArray().size(), 1u);
    EXPECT_EQ(value.GetObject(), nullptr);

    value.SetNull();
    EXPECT_TRUE(value.IsNullValue() && value.IsArray() && value.IsEmpty());
    EXPECT_TRUE(value.GetStringArray().empty() && value.GetObjectArray().empty());
    value.SetEmptyObjectArray();
    EXPECT_TRUE(value.IsObjectArray() && value.IsEmpty());
    value.SetEmptyStringArray();
    EXPECT_TRUE(value.IsStringArray() && value.IsEmpty());

    DataValue scalar;
    scalar.SetValue("1"_w);
    scalar.AddStringValue("2"_w);
    EXPECT_TRUE(scalar.IsStringValue());
    EXPECT_EQ(scalar.GetString(), "1"_w);
    EXPECT_TRUE(scalar.GetStringArray().empty());
}
