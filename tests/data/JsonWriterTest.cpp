#include "Quoll/JsonWriter.h"

#include "Quoll/JsonReader.h"
#include "support/ReferenceJson.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>

using namespace Quoll::Json;
using namespace Quoll::Literals;
using Quoll::WChar;
using Quoll::WString;

namespace
{

using StringStream = std::basic_ostringstream<WChar>;

WString MakeText(std::mt19937& random)
{
    const WString odd = "\\\"\r\n\f\t\b/\x01\x13\x1F\u2022\U0001F600"_w;
    const auto rarity = 1u << random() % 12;
    WString text(random() % (random() % 8 == 0 ? 9000 : 40), 'x');
    for (WChar& unit : text)
    {
        unit = random() % rarity == 0 ? odd[random() % odd.size()] : unit;
    }
    return text;
}

std::shared_ptr<DataObject> MakeDocument(std::mt19937& random, int depth)
{
    auto document = std::make_shared<DataObject>();
    for (auto entries = random() % 6; entries > 0; --entries)
    {
        DataValue& value = document->GetValue(MakeText(random));
        if (value.IsNullValue() && depth < 6 && random() % 2 == 0)
        {
            value.SetObject(MakeDocument(random, depth + 1));
        }
        else
        {
            value.SetValue(MakeText(random));
        }
    }
    return document;
}

// Takes so many units, then fails.
class ShortBuffer : public std::basic_streambuf<WChar>
{
public:
    explicit ShortBuffer(std::streamsize room)
        : m_room(room)
    {
    }

protected:
    std::streamsize xsputn(const WChar*, std::streamsize count) override
    {
        const std::streamsize taken = std::min(count, m_room);
        m_room -= taken;
        return taken;
    }

private:
    std::streamsize m_room;
};

} // namespace

TEST(JsonWriter, WritesDocumentsWithAndWithoutWhatIsEmpty)
{
    const struct
    {
        WString text;
        WString all;
        WString skipping;
    } cases[] = {
        {"{}"_w, "{}"_w, "{}"_w},
        {R"({"a":null})"_w, R"({"a":null})"_w, "{}"_w},
        {R"({"b": 1, "a": -5, "c": +, "d": true})"_w, R"({"a":-5,"b":1,"c":+,"d":true})"_w,
         R"({"a":-5,"b":1,"c":+,"d":true})"_w},
        {R"({"a":[1,2,"x",false]})"_w, R"({"a":["1","2","x","false"]})"_w, R"({"a":["1","2","x","false"]})"_w},
        {R"({"a":[],"b":"","c":{},"d":0})"_w, R"({"a":[],"b":"","c":{},"d":0})"_w, R"({"b":"","c":{},"d":0})"_w},
        {R"({"a":[{"b":null,"c":[{},{}]},{}],"z":null})"_w, R"({"a":[{"b":null,"c":[{},{}]},{}],"z":null})"_w,
         R"({"a":[{"c":[{},{}]},{}]})"_w},
        {R"({"a/\"":"x\/y"})"_w, R"({"a\/\"":"x\/y"})"_w, R"({"a\/\"":"x\/y"})"_w},
        // Control characters and NULs alone go out as they are.
        {R"({"a":"\u0001x\u0000y"})"_w, "{\"a\":\"\x01x\0y\"}"_w, "{\"a\":\"\x01x\0y\"}"_w},
        {R"({"a":"\u0001\u000B\n\u0012\u0014\u0000y"})"_w, "{\"a\":\"\\u0001\\u000;\\n\\u0012\x14\"}"_w,
         "{\"a\":\"\\u0001\\u000;\\n\\u0012\x14\"}"_w},
    };
    for (const auto& [text, all, skipping] : cases)
    {
        const auto document = JsonReader::Decode(text, false);
        ASSERT_NE(document, nullptr) << testing::PrintToString(text);
        EXPECT_EQ(JsonWriter::Encode(*document, false), all);
        EXPECT_EQ(JsonWriter::Encode(document, true), skipping);
    }
    EXPECT_EQ(JsonWriter::Encode(nullptr, false), "null"_w);
    EXPECT_EQ(JsonWriter::Encode(nullptr, true), ""_w);
}

TEST(JsonWriter, WritesNullPointersAndValuesWithoutContent)
{
    DataObject document;
    const auto object = std::make_shared<DataObject>();
    document.SetObject("a"_w, nullptr);
    document.SetObjectArray("b"_w, {nullptr, object, nullptr, object});
    document.SetObjectArray("c"_w, {nullptr});
    document.SetEmptyObjectArrayValue("d"_w);
    document.GetValue("e"_w).SetValue("text"_w, EType::EmptyArray);
    document.GetValue("f"_w).SetValue("text"_w, EType::Object);
    document.SetEmptyStringArrayValue("g"_w);
    document.SetNullValue("g"_w);
    EXPECT_EQ(JsonWriter::Encode(document, false),
              R"({"a":null,"b":[null,{},null,{}],"c":[null],"d":[],"e":,"f":null,"g":[]})"_w);
    EXPECT_EQ(JsonWriter::Encode(document, true), R"({"a":,"b":[{},{}],"c":[]})"_w);
}

TEST(JsonWriter, SortsTheRootAloneDescending)
{
    const auto document = JsonReader::Decode(R"({"a":{"a":1,"b":2},"b":null,"c":[{"a":3,"b":4}]})"_w, false);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(JsonWriter::EncodeSorted(*document, false), R"({"c":[{"a":3,"b":4}],"b":null,"a":{"a":1,"b":2}})"_w);
    EXPECT_EQ(JsonWriter::EncodeSorted(*document, true), R"({"c":[{"a":3,"b":4}],"a":{"a":1,"b":2}})"_w);
    StringStream stream;
    JsonWriter writer(stream);
    writer.SetSkipNullOrEmpty(true);
    writer.WriteSorted(*document);
    writer.Write(DataObject());
    EXPECT_EQ(stream.str(), R"({"c":[{"a":3,"b":4}],"a":{"a":1,"b":2}}{})"_w);
}

TEST(JsonWriter, WritesTheSameToStreamsAndStrings)
{
    std::mt19937 random(11);
    for (int i = 0; i < 60; ++i)
    {
        const auto document = MakeDocument(random, 0);
        const WString expected = Quoll::Tests::EncodeByReference(*document, false, false);
        StringStream stream;
        JsonWriter(stream).Write(*document);
        ASSERT_TRUE(stream.str() == expected) << i;
        ASSERT_TRUE(JsonWriter::Encode(document, false) == expected) << i;
    }
}

TEST(JsonWriter, WritesPropertyByProperty)
{
    StringStream stream;
    JsonWriter writer(stream);
    writer.WriteProperty("loose"_w, 1);
    writer.WriteObject([&] {
        writer.WriteProperty("skipped"_w, ""_w);
        writer.WriteProperty("raw\n/"_w, "a/b"_w);
        writer.WriteObject("inner"_w, [&] {
            writer.WriteObject("none"_w, [] {});
            writer.WriteProperty("list"_w, {"x"_w, ""_w, "\""_w});
            writer.WriteProperty("no list"_w, std::vector<WString>());
        });
        writer.SetSkipEmptyStringValues(false);
        writer.WriteProperty("empty"_w, ""_w);
        writer.WriteProperty("int"_w, std::numeric_limits<int>::min());
        writer.WriteProperty("unsigned"_w, std::numeric_limits<unsigned>::max());
        writer.WriteProperty("long"_w, std::numeric_limits<std::uint64_t>::max());
        writer.WriteBooleanProperty("yes"_w, true);
        writer.WriteBooleanProperty("no"_w, false);
        writer.WriteProperties(std::map<WString, WString>{{"k1"_w, "1"_w}, {"k2"_w, "2"_w}});
        writer.WriteProperties(std::map<WString, std::vector<WString>>{{"k3"_w, {"3"_w}}});
    });
    EXPECT_EQ(stream.str(), "\"loose\":1{\"raw\n/\":\"a\\/b\",\"inner\":{\"none\":{},\"list\":[\"x\",\"\",\"\\\"\"],"
                            "\"no list\":[]},\"empty\":\"\",\"int\":-2147483648,\"unsigned\":4294967295,"
                            "\"long\":18446744073709551615,\"yes\":true,\"no\":false,\"k1\":\"1\",\"k2\":\"2\","
                            "\"k3\":[\"3\"]}"_w);
}

TEST(JsonWriter, ClosesTheLevelOfACallbackThatThrows)
{
    StringStream stream;
    JsonWriter writer(stream);
    writer.WriteObject([&] {
        const auto fail = [&] {
            writer.WriteProperty("a"_w, 1);
            throw std::runtime_error("callback");
        };
        EXPECT_THROW(writer.WriteObject("inner"_w, fail), std::runtime_error);
        writer.WriteProperty("b"_w, 2);
    });
    EXPECT_EQ(stream.str(), R"({"inner":{"a":1,"b":2})"_w);
}

TEST(JsonWriter, LeavesFaultsToTheStream)
{
    DataObject document;
    document.SetValue("a"_w, WString(20000, 'x'));
    for (const std::streamsize room : {0, 3, 9000})
    {
        ShortBuffer buffer(room);
        std::basic_ostream<WChar> stream(&buffer);
        JsonWriter writer(stream);
        const auto write = [&] {
            writer.WriteProperty("a"_w, 1);
            writer.Write(document);
        };
        EXPECT_NO_THROW(write());
        EXPECT_TRUE(stream.bad()) << room;
        stream.clear();
        stream.exceptions(std::ios_base::badbit);
        EXPECT_THROW(write(), std::ios_base::failure);
    }
}
