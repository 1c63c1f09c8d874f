#include "Quoll/JsonReader.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Quoll::Json;
using namespace Quoll::Literals;
using Quoll::WString;
using Quoll::WStringView;

namespace
{

WString Describe(const DataObject& object);

// The number of the type, an A for an array, then texts and objects.
WString Describe(const DataValue& value)
{
    WString text;
    const bool types[] = {
        value.IsStringValue() || value.IsStringArray(), value.IsBoolean(),         value.IsIntValue(), false,
        value.IsObject() || value.IsObjectArray(),      value.IsEmptyArrayValue(), value.IsNullValue()};
    for (std::size_t type = 0; type < std::size(types); ++type)
    {
        text += WString(types[type] ? 1 : 0, static_cast<Quoll::WChar>('0' + type));
    }
    if (!value.IsArray())
    {
        text += ":"_w + value.GetString();
        return value.GetObject() != nullptr ? text + Describe(*value.GetObject()) : text;
    }
    text += "A"_w;
    for (const WString& element : value.GetStringArray())
    {
        text += ":"_w + element;
    }
    for (const auto& element : value.GetObjectArray())
    {
        text += Describe(*element);
    }
    return text;
}

WString Describe(const DataObject& object)
{
    WString text = "{"_w;
    for (const auto& [key, value] : object.GetValueMap())
    {
        text += WString(key) + "="_w + Describe(value) + " "_w;
    }
    return text + "}"_w;
}

WString Outcome(const WString& text, bool allowDuplicates)
{
    try
    {
        const auto document = JsonReader::Decode(text, allowDuplicates);
        return document != nullptr ? Describe(*document) : "none"_w;
    }
    catch (const std::exception& exception)
    {
        const std::string what = exception.what();
        return {what.begin(), what.end()};
    }
}

} // namespace

TEST(JsonReader, ReadsItsDialect)
{
    const struct
    {
        WString text;
        WString expected;
    } cases[] = {
        {""_w, "none"_w},
        {"  "_w, "none"_w},
        {"[]"_w, "none"_w},
        {"{}"_w, "{}"_w},
        {"\t{\r\n\u2003}\u3000"_w, "{}"_w},
        {"{}garbage"_w, "{}"_w},
        {"{"_w, "none"_w},
        {R"({"a":"b\"c"})"_w, R"({a=0:b"c })"_w},
        {R"({"a\/":"A\n"})"_w, "{a/=0:A\n }"_w},
        {"{\"a\":\"x\n\x01\"}"_w, "{a=0:x\n\x01 }"_w},
        {R"({"a":"\q"})"_w, "{a=0: }"_w},
        {R"({"b":1,"a":-007,"c":+})"_w, "{a=2:-007 b=2:1 c=2:+ }"_w},
        {R"({"a":99999999999999999999})"_w, "{a=2:99999999999999999999 }"_w},
        {R"({"a":1.5})"_w, "none"_w},
        {R"({"a":1e5})"_w, "none"_w},
        {R"({"a":[1.5]})"_w, "none"_w},
        {R"({"a":true,"b":false,"c":null})"_w, "{a=1:true b=1:false c=6: }"_w},
        {R"({"a":truex})"_w, "none"_w},
        {R"({"a":1,})"_w, "{a=2:1 }"_w},
        {R"({"a":})"_w, "{}"_w},
        {R"({"a":,"b":1})"_w, "{b=2:1 }"_w},
        {R"({"a" 1})"_w, "none"_w},
        {R"({"a":[]})"_w, "{a=5A }"_w},
        {R"({"a":[,]})"_w, "{a=5A }"_w},
        {R"({"a":[1,]})"_w, "{a=A:1 }"_w},
        {R"({"a":["x",,"y"]})"_w, "{a=0A:x:y }"_w},
        {R"({"a":[null]})"_w, "none"_w},
        {R"({"a":[[1]]})"_w, "none"_w},
        {R"({"a":["1",2,true]})"_w, "{a=0A:1:2:true }"_w},
        {R"({"a":["1",{"b":2},"3"]})"_w, "{a=4A:1:3{b=2:2 } }"_w},
        {R"({"a":[{"b":2},"1",{}]})"_w, "{a=0A:1{b=2:2 }{} }"_w},
        {R"({"a":{"b":{}},"c":[{"d":[{}]}]})"_w, "{a=4:{b=4:{} } c=4A{d=4A{} } }"_w},
        // A quote that nothing closes is passed over where a key or a value may stand.
        {R"({"})"_w, "{}"_w},
        {R"({"a":"12})"_w, "{a=2:12 }"_w},
        {R"({"a":["{}]})"_w, "{a=4A{} }"_w},
        {R"({"a":"[]})"_w, "none"_w},
        {R"({"a":"x\"})"_w, "none"_w},
        {R"({"a":"\u12"})"_w, "{a=0:12 }"_w},
        {R"({"a":"\u12G4\ud83d\ude00"})"_w, WString("{a=0:\u0012\U0001F600 }"_w)},
        {R"({"a":"\uXYZ!"})"_w, "invalid stoul argument"_w},
    };
    for (const auto& each : cases)
    {
        EXPECT_EQ(Outcome(each.text, false), each.expected) << testing::PrintToString(each.text);
    }
}

TEST(JsonReader, RefusesOrMergesDuplicates)
{
    const WString refused = "Duplicate attribute"_w;
    const struct
    {
        WString text;
        WString strict;
        WString merged;
    } cases[] = {
        {R"({"a":1,"a":2})"_w, refused, "{a=2:2 }"_w},
        {R"({"a":1,"b":0,"a":"x"})"_w, refused, "{a=0:x b=2:0 }"_w},
        {R"({"a":1,"a":[2]})"_w, refused, "{a=2:1 }"_w},
        {R"({"a":[1],"a":["x",{}]})"_w, refused, "{a=4A:1:x{} }"_w},
        {R"({"a":[1],"a":"x"})"_w, refused, "{a=0A:x }"_w},
        {R"({"a":{"b":1},"a":{"c":2}})"_w, refused, "{a=4:{c=2:2 } }"_w},
        {R"({"a":{},"a":["x"]})"_w, refused, "{a=0A:x{} }"_w},
        {R"({"a":[1],"a":null})"_w, refused, "{a=6A }"_w},
        {R"({"a":[],"a":[1]})"_w, refused, "{a=A:1 }"_w},
        {R"({"a":null,"a":[]})"_w, refused, "{a=5A }"_w},
        // A key without a value isn't there, but it is looked up.
        {R"({"a":,"a":1})"_w, "{a=2:1 }"_w, "{a=2:1 }"_w},
        {R"({"a":1,"a":})"_w, refused, "{a=2:1 }"_w},
        {R"({"\/":1,"/":2})"_w, refused, "{/=2:2 }"_w},
        // The first fault counts.
        {R"({"a":1,"a":2,!)"_w, refused, "none"_w},
        {R"({"a":1,"a")"_w, refused, "none"_w},
        {R"({"b":{"a":1,"a":2},"c":"\uXXXX"})"_w, refused, "invalid stoul argument"_w},
        {R"({"a":"\uXXXX","b":1,"b":1})"_w, "invalid stoul argument"_w, "invalid stoul argument"_w},
        {R"({"a":1 "a":2})"_w, "none"_w, "none"_w},
        {R"({"a":1,"b":[{"c":{"x":1,"x":2}}],"a":3})"_w, refused, "{a=2:3 b=4A{c=4:{x=2:2 } } }"_w},
    };
    for (const auto& each : cases)
    {
        EXPECT_EQ(Outcome(each.text, false), each.strict) << testing::PrintToString(each.text);
        EXPECT_EQ(Outcome(each.text, true), each.merged) << testing::PrintToString(each.text);
    }
}

TEST(JsonReader, TakesWhateverSizeItIsGiven)
{
    WString keys = "{"_w;
    for (std::size_t i = 0; i < 1'000'000; ++i)
    {
        const std::string digits = std::to_string((i * 7919) % 1'000'000);
        keys += "\""_w + WString(digits.begin(), digits.end()) + "\":1,"_w;
    }
    const auto many = JsonReader::Decode(keys + "}"_w, false);
    ASSERT_NE(many, nullptr);
    EXPECT_EQ(many->GetValueMap().size(), 1'000'000u);
    EXPECT_THROW(JsonReader::Decode(keys + "\"0\":1}"_w, false), std::runtime_error);

    const WString commas = "{\"a\":["_w + WString(1'000'000, ',') + "]}"_w;
    EXPECT_TRUE(JsonReader::Decode(commas, false)->GetValue("a"_w).IsEmptyArrayValue());

    const WString large(10'000'000, 'x');
    const auto document = JsonReader::Decode("{\"k\":\""_w + large + "\",\""_w + large + "\":2}"_w, false);
    EXPECT_EQ(document->GetStringValue("k"_w), large);
    EXPECT_EQ(document->GetIntValue(large, 0), 2);
}

TEST(JsonReader, GoesOnBehindADocument)
{
    JsonReader reader(false);
    ASSERT_NE(reader.Parse("{\"a\":1} +7 rest"_w), nullptr);
    int number = 0;
    EXPECT_TRUE(reader.CheckInteger(number) && number == 7 && !reader.HasError());
    EXPECT_EQ(reader.Parse("{\"a\" 1}"_w), nullptr);
    EXPECT_TRUE(reader.HasError() && !reader.CheckChar('1'));
    EXPECT_NE(reader.Parse("{}"_w), nullptr);
    EXPECT_FALSE(reader.HasError());
}

TEST(Lexer, TakesTokensFromLines)
{
    Lexer lexer;
    EXPECT_THROW(lexer.CheckChar('x'), std::bad_function_call);
    std::vector<WString> lines = {"  name = +12,"_w, "99999999999 \"te\\\"xt\" trueish"_w, "\"open 5"_w, "- "_w};
    std::size_t next = 0;
    lexer.SetReadLine([&](WString& line) {
        const bool isThere = next < lines.size();
        line = isThere ? lines[next++] : line;
        return isThere;
    });
    EXPECT_FALSE(lexer.CheckString("nama"_w));
    EXPECT_EQ(lexer.GetStringUntil('='), "name "_w);
    IntegerToken token;
    EXPECT_TRUE(lexer.CheckInteger(token) && token.GetText() == "+12"_w && !lexer.CheckInteger(token));
    lexer.GetChar(',');
    int number = 0;
    EXPECT_TRUE(lexer.CheckInteger(number) && number == 2147483647);
    WString text;
    EXPECT_TRUE(lexer.CheckQuotedString(text) && text == "te\\\"xt"_w);
    BooleanToken boolean;
    EXPECT_TRUE(lexer.CheckJsonBoolean(boolean) && boolean.GetText() == "true"_w);
    EXPECT_EQ(lexer.GetStringUntil('#'), "ish"_w);
    EXPECT_FALSE(lexer.CheckQuotedString(text));
    EXPECT_FALSE(lexer.HasError());
    EXPECT_TRUE(lexer.CheckString("open"_w));
    EXPECT_EQ(lexer.GetInteger().GetText(), "5"_w);
    EXPECT_EQ(lexer.GetInteger().GetText(), "-"_w);
    EXPECT_EQ(lexer.GetQuotedString(), ""_w);
    EXPECT_TRUE(lexer.HasError() && !lexer.CheckChar('x'));
}
