#include "Quoll/JsonObject.h"
#include "Quoll/JsonReader.h"
#include "Quoll/JsonWriter.h"
#include "support/SmallStack.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

using namespace Quoll::Json;
using namespace Quoll::Literals;
using Quoll::WString;

namespace
{

std::shared_ptr<DataObject> Read(const WString& text)
{
    return JsonReader::Decode(text, true);
}

WString Number(std::size_t value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

std::size_t MeasureDepth(std::shared_ptr<const DataObject> object, Quoll::WStringView key)
{
    std::size_t depth = 0;
    for (; object != nullptr; ++depth)
    {
        object = object->GetDataObject(key);
    }
    return depth;
}

} // namespace

TEST(JsonObject, GettersGiveTheDefaultForWhatIsMissingAndAddNothing)
{
    const auto object = Read(R"({"n":-5,"t":true,"s":"x","nul":null})"_w);
    EXPECT_EQ(object->GetIntValue("n"_w, 1), -5);
    EXPECT_EQ(object->GetIntValue("other"_w, 1), 1);
    EXPECT_EQ(object->GetUint64Value("n"_w, 1), static_cast<std::uint64_t>(-5));
    EXPECT_TRUE(object->GetBooleanValue("t"_w, false));
    EXPECT_TRUE(object->GetBooleanValue("s"_w, true));
    EXPECT_EQ(object->GetStringValue("other"_w, "d"_w), "d"_w);
    EXPECT_TRUE(object->IsNullValue("nul"_w) && object->IsNullValue("other"_w) && !object->IsNullValue("n"_w));
    EXPECT_EQ(object->GetDataObject("s"_w), nullptr);
    EXPECT_TRUE(object->GetStringArray("s"_w).empty() && object->GetObjectArray("other"_w).empty());
    EXPECT_EQ(object->GetValueMap().size(), 4u);
    EXPECT_TRUE(object->GetValue("other"_w).IsNullValue());
    EXPECT_TRUE(object->Contains("other"_w));
    EXPECT_THROW(object->GetValueMap().at("none"_w), std::out_of_range);

    const DataObject* const missing = nullptr;
    EXPECT_EQ(DataObject::GetIntValue(missing, "n"_w, 7), 7);
    EXPECT_EQ(DataObject::GetStringValue(missing, "n"_w, "d"_w), "d"_w);
    EXPECT_TRUE(DataObject::IsNullValue(missing, "n"_w) && DataObject::IsEmpty(missing));
    EXPECT_EQ(DataObject::GetIntValue(object.get(), "n"_w, 7), -5);
}

TEST(JsonObject, SettersDoWhatTheValuesOperationsDo)
{
    DataObject object;
    object.SetIntValue("n"_w, -2147483647 - 1);
    EXPECT_EQ(object.GetStringValue("n"_w), "-2147483648"_w);
    EXPECT_TRUE(object.GetValue("n"_w).IsIntValue());
    object.SetUint64Value("n"_w, 18446744073709551615u);
    EXPECT_EQ(object.GetUint64Value("n"_w), 18446744073709551615u);
    EXPECT_EQ(object.GetIntValue("n"_w, 3), 3);
    object.SetBooleanValue("b"_w, true);
    EXPECT_TRUE(object.GetValue("b"_w).IsBoolean() && object.GetBooleanValue("b"_w));
    object.SetBooleanValue("b"_w, BooleanToken("maybe"_w));
    EXPECT_TRUE(object.GetBooleanValue("b"_w, true));
    object.SetValue("s"_w, std::vector<WString>{"a"_w, "b"_w});
    EXPECT_TRUE(object.GetValue("s"_w).IsStringArray());
    EXPECT_EQ(object.GetStringArray("s"_w).size(), 2u);
    object.SetEmptyStringArrayValue("s"_w);
    EXPECT_TRUE(object.GetValue("s"_w).IsStringArray() && object.GetValue("s"_w).IsEmpty());
    object.SetObjectArray("o"_w, {std::make_shared<DataObject>(), nullptr});
    EXPECT_EQ(object.GetObjectArray("o"_w).size(), 2u);
    object.SetNullValue("o"_w);
    EXPECT_TRUE(object.IsNullValue("o"_w) && object.GetValue("o"_w).IsEmpty());
}

TEST(JsonObject, EntriesThatWereReadAndAddedAreOneMapInTheOrderOfUnits)
{
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round)
    {
        std::map<WString, Quoll::WChar> expected;
        WString text = "{"_w;
        std::vector<WString> added;
        for (std::size_t i = 0; i < 40; ++i)
        {
            // Keys that differ late, early and in length, of units on both sides of 0x8000.
            WString key =
                Number(random() % 60) + WString(random() % 3, static_cast<Quoll::WChar>(0x7FFF + random() % 3));
            if (random() % 2 == 0)
            {
                text.append("\""_w).append(key).append("\":\"r\","_w);
                expected[key] = 'r';
            }
            else
            {
                added.push_back(key);
            }
        }
        const auto object = Read(text + "}"_w);
        for (const WString& key : added)
        {
            object->SetValue(key, "a"_w);
            expected[key] = 'a';
        }
        const ValueMap& map = object->GetValueMap();
        const auto isSame = [](const auto& left, const auto& right) {
            return left.first == right.first && WString(1, left.second) == right.second.GetStringValue();
        };
        ASSERT_EQ(map.size(), expected.size());
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), map.begin(), map.end(), isSame));
        ASSERT_TRUE(std::equal(expected.rbegin(), expected.rend(), map.rbegin(), map.rend(), isSame));
        for (const auto& [key, value] : expected)
        {
            ASSERT_TRUE(map.contains(key) && map.find(key)->first == key && map.lower_bound(key)->first == key);
        }
    }
}

TEST(JsonObject, ReferencesStayGoodWhenKeysAreAdded)
{
    const auto object = Read(R"({"read":"one","nested":{"k":"v"}})"_w);
    DataValue& read = object->GetValue("read"_w);
    DataValue& added = object->GetValue("added"_w);
    added.SetValue("two"_w);
    const WString& text = read.GetString();
    const auto nested = object->GetDataObject("nested"_w);
    for (std::size_t i = 0; i < 10000; ++i)
    {
        object->SetValue(Number(i), "x"_w);
    }
    EXPECT_EQ(&object->GetValue("read"_w), &read);
    EXPECT_EQ(&object->GetValue("added"_w), &added);
    EXPECT_EQ(text, "one"_w);
    object->SetNullValue("nested"_w);
    EXPECT_EQ(nested->GetStringValue("k"_w), "v"_w);
}

TEST(JsonObject, OutlivesItsDocumentAndTheThreadThatReadIt)
{
    std::shared_ptr<const DataObject> nested;
    DataValue taken;
    std::thread([&] {
        auto document = Read(R"({"a":{"text":"long enough to need memory of its own"},"b":["x","y"]})"_w);
        nested = document->GetDataObject("a"_w);
        taken = std::move(document->GetValue("b"_w));
        EXPECT_TRUE(document->IsNullValue("b"_w));
    }).join();
    EXPECT_EQ(nested->GetStringValue("text"_w), "long enough to need memory of its own"_w);
    EXPECT_EQ(taken.GetStringArray(), (std::vector<WString>{"x"_w, "y"_w}));
}

TEST(JsonObject, ManyThreadsMayReadOneObject)
{
    const auto object = Read(R"({"s":"text","l":["a","b"],"o":[{"k":1}]})"_w);
    Quoll::Tests::OnThreads(4, [&](unsigned) {
        const DataValue& text = object->GetValueMap().at("s"_w);
        EXPECT_TRUE(&text.GetString() == &text.GetString() && text.GetString() == "text"_w);
        EXPECT_EQ(object->GetStringArray("l"_w).size(), 2u);
        EXPECT_EQ(object->GetObjectArray("o"_w).front()->GetIntValue("k"_w), 1);
    });
}

TEST(JsonObject, CopiesShareNothing)
{
    const auto object = Read(R"({"o":{"k":"old"},"l":[{"k":"old"}],"s":"text"})"_w);
    DataObject copy = *object;
    copy.GetValue("o"_w).GetObject()->SetValue("k"_w, "new"_w);
    copy.GetObjectArray("l"_w).front()->SetValue("k"_w, "new"_w);
    EXPECT_EQ(object->GetDataObject("o"_w)->GetStringValue("k"_w), "old"_w);
    EXPECT_EQ(object->GetObjectArray("l"_w).front()->GetStringValue("k"_w), "old"_w);
    EXPECT_EQ(copy.GetStringValue("s"_w), "text"_w);

    // From within itself.
    copy = *copy.GetValue("o"_w).GetObject();
    EXPECT_EQ(copy.GetStringValue("k"_w), "new"_w);
    copy.SetObject("self"_w, std::make_shared<DataObject>(*object));
    copy = std::move(*copy.GetValue("self"_w).GetObject());
    EXPECT_EQ(copy.GetDataObject("o"_w)->GetStringValue("k"_w), "old"_w);
    copy.GetValue("o"_w) = copy.GetDataObject("o"_w)->GetValueMap().at("k"_w);
    EXPECT_EQ(copy.GetStringValue("o"_w), "old"_w);
}

// A ring mustn't be made, but breaking one is safe.
TEST(JsonObject, MayBeReleasedByOneOfItsValues)
{
    for (const bool wasRead : {false, true})
    {
        auto object = wasRead ? Read(R"({"ring":[{},{}]})"_w) : std::make_shared<DataObject>();
        DataValue& value = object->GetValue("ring"_w);
        const std::weak_ptr<DataObject> watched = object;
        value.AddObject(std::move(object));
        value.SetNull();
        EXPECT_TRUE(watched.expired());
    }
}

// Neither reading nor writing, copying, changing or destroying needs stack for each level.
TEST(JsonObject, MayBeNestedAMillionDeep)
{
    constexpr std::size_t depth = 1'000'000;
    for (const auto& [open, close] : {std::pair<WString, WString>{"{\"a\":"_w, "}"_w}, {"{\"a\":["_w, "]}"_w}})
    {
        WString text;
        for (std::size_t i = 0; i < 2 * depth; ++i)
        {
            text += i < depth ? open : close;
            text += i + 1 == depth ? "{}"_w : ""_w;
        }
        RunOnSmallStack([&] {
            auto object = Read(text);
            ASSERT_NE(object, nullptr);
            EXPECT_TRUE(JsonWriter::EncodeSorted(*object, true) == text);
            std::basic_ostringstream<Quoll::WChar> stream;
            JsonWriter(stream).Write(*object);
            EXPECT_TRUE(stream.str() == text);
            DataObject copy = *object;
            object.reset();
            const DataValue value = copy.GetValueMap().at("a"_w);
            copy.SetNullValue("a"_w);
            if (value.IsObject())
            {
                EXPECT_EQ(MeasureDepth(value.GetObject(), "a"_w), depth);
            }
            else
            {
                EXPECT_EQ(value.GetObjectArray().size(), 1u);
            }
        });
    }
}
