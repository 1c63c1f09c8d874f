#include "Quoll/DataResourceItem.h"
#include "Quoll/JsonWriter.h"
#include "Quoll/StringUtilities.h"
#include "support/MessageOf.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <stdexcept>
#include <vector>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

WString Encode(const IDataResourceItem& item)
{
    return Json::JsonWriter::Encode(item.AsDataObject(), false);
}

template<class Source>
std::string RefusalOf(const Source& source)
{
    return Tests::MessageOf<std::invalid_argument>([&] { DataResourceItem{source}; });
}

// A pointer to a virtual function begins with the offset of its slot, plus 1.
template<class... Functions>
std::vector<std::size_t> SlotsOf(Functions... functions)
{
    const auto slotOf = [](auto function) {
        std::size_t place = 0;
        std::memcpy(&place, &function, sizeof(place));
        return (place - 1) / sizeof(void*);
    };
    return {slotOf(functions)...};
}

} // namespace

TEST(DataResourceItemTest, SlotsHaveTheirOrder)
{
    using I = IDataResourceItem;
    const std::vector<std::size_t> slots =
        SlotsOf(&I::GetId, &I::SetId, &I::GetType, &I::SetType, &I::GetStringValue, &I::SetStringValue, &I::GetIntValue,
                &I::GetDateValue, &I::SetIntValue, &I::GetUint64Value, &I::SetUint64Value, &I::SetDateValue,
                &I::GetBoolValue, &I::SetBoolValue, &I::AsDataObject, &I::SetStringArrayValue, &I::GetStringArrayValue,
                &I::SetObjectArrayValue, &I::GetObjectArrayValue, &I::SetObjectValue, &I::GetObjectValue);
    for (std::size_t i = 0; i < slots.size(); ++i)
    {
        EXPECT_EQ(slots[i], i);
    }
}

TEST(DataResourceItemTest, NewItemsHaveTheirEnvelope)
{
    EXPECT_EQ(Encode(DataResourceItem("7"_w, "scan"_w)), WString(R"({"attributes":{},"id":"7","type":"scan"})"_w));
    EXPECT_EQ(Encode(DataResourceItem(""_w, ""_w)), WString(R"({"attributes":{}})"_w));
}

TEST(DataResourceItemTest, ValuesAreThoseOfTheDocument)
{
    DataResourceItem item("7"_w, "scan"_w);
    const auto nested = std::make_shared<Json::DataObject>();
    item.SetId("8"_w);
    item.SetType("report"_w);
    item.SetStringValue("text"_w, "id"_w);
    item.SetIntValue("int"_w, -5);
    item.SetUint64Value("large"_w, 18'446'744'073'709'551'615U);
    item.SetBoolValue("bool"_w, true);
    item.SetStringArrayValue("texts"_w, {"a"_w, "b"_w});
    item.SetObjectArrayValue("objects"_w, {nested});
    item.SetObjectValue("object"_w, nested);
    item.SetObjectValue("none"_w, nullptr);
    nested->SetIntValue("n"_w, 1);
    const WString text(R"({"attributes":{"bool":true,"int":-5,"large":18446744073709551615,"none":null,)"
                       R"("object":{"n":1},"objects":[{"n":1}],"text":"id","texts":["a","b"]},)"
                       R"("id":"8","type":"report"})"_w);
    EXPECT_EQ(Encode(item), text);

    const DataResourceItem read{WStringView(text)};
    EXPECT_EQ(read.GetId() + read.GetType() + read.GetStringValue("text"_w), WString("8reportid"_w));
    EXPECT_EQ(read.GetIntValue("int"_w), -5);
    EXPECT_EQ(read.GetUint64Value("large"_w), 18'446'744'073'709'551'615U);
    EXPECT_TRUE(read.GetBoolValue("bool"_w));
    EXPECT_EQ(read.GetStringArrayValue("texts"_w), (IDataResourceItem::StringList{"a"_w, "b"_w}));
    EXPECT_EQ(read.GetObjectArrayValue("objects"_w).at(0)->GetIntValue("n"_w), 1);
    EXPECT_EQ(read.GetObjectValue("object"_w)->GetIntValue("n"_w), 1);
    EXPECT_EQ(item.GetObjectValue("object"_w), nested);
    EXPECT_EQ(item.GetObjectValue("none"_w), nullptr);
}

TEST(DataResourceItemTest, MissingAttributesAreEmpty)
{
    const DataResourceItem item(R"({"text":"root"})"_w);
    EXPECT_EQ(item.GetId(), WString());
    EXPECT_EQ(item.GetStringValue("text"_w), WString());
    EXPECT_EQ(item.GetIntValue("text"_w), 0);
    EXPECT_EQ(item.GetUint64Value("text"_w), 0u);
    EXPECT_FALSE(item.GetBoolValue("text"_w));
    EXPECT_TRUE(item.GetStringArrayValue("text"_w).empty());
    EXPECT_TRUE(item.GetObjectArrayValue("text"_w).empty());
    EXPECT_EQ(item.GetObjectValue("text"_w), nullptr);
    EXPECT_EQ(Encode(item), WString(R"({"attributes":{},"text":"root"})"_w));
}

TEST(DataResourceItemTest, AttributesAreAnObjectOrRefused)
{
    for (const WideLiteral& text : {R"({})"_w, R"({"attributes":null})"_w, R"({"attributes":{}})"_w})
    {
        DataResourceItem item(text);
        item.SetIntValue("n"_w, 1);
        EXPECT_EQ(Encode(item), WString(R"({"attributes":{"n":1}})"_w));
    }
    DataResourceItem first(R"({"attributes":[{"n":1},{"n":2}],"id":"a","id":"b"})"_w);
    EXPECT_EQ(first.GetIntValue("n"_w), 1);
    EXPECT_EQ(first.GetId(), WString("b"_w));

    for (const WideLiteral& text : {R"("")"_w, R"("x")"_w, R"(1)"_w, R"(true)"_w, R"([])"_w, R"(["x"])"_w})
    {
        EXPECT_EQ(RefusalOf(R"({"attributes":)"_w + WString(text) + "}"_w),
                  "The attributes of a resource item are no JSON object");
    }
}

TEST(DataResourceItemTest, WhatIsNoDocumentIsRefused)
{
    for (const WideLiteral& text : {""_w, "x"_w, "[]"_w, R"({"id":)"_w, R"({"id" "x"})"_w, "\0{}"_w})
    {
        EXPECT_EQ(RefusalOf(text), "The text of a resource item is no valid JSON document");
    }
    EXPECT_EQ(RefusalOf(R"({"id":"\uxxxx"})"_w), "invalid stoul argument");
    EXPECT_EQ(RefusalOf(std::shared_ptr<Json::DataObject>()), "A resource item has no JSON document");
}

TEST(DataResourceItemTest, DocumentsAreShared)
{
    const auto document = std::make_shared<Json::DataObject>();
    document->SetObject("attributes"_w, nullptr);
    DataResourceItem item(document);
    EXPECT_EQ(item.AsDataObject(), document);
    DataResourceItem copy(item);
    DataResourceItem moved(std::move(copy));
    moved.SetIntValue("n"_w, 1);
    copy.SetId("x"_w); // NOLINT(bugprone-use-after-move): moving copies
    EXPECT_EQ(document->GetDataObject("attributes"_w)->GetIntValue("n"_w), 1);
    EXPECT_EQ(item.GetId(), WString("x"_w));

    document->SetNullValue("attributes"_w);
    EXPECT_EQ(item.GetIntValue("n"_w), 1);
}

TEST(DataResourceItemTest, DatesKeepTheirTicks)
{
    DataResourceItem item("7"_w, "scan"_w);
    const FILETIME ticks = {0x9ABCDEF1, 0x01D2F0AB};
    item.SetDateValue("hex"_w, UtcTime(ticks, false));
    EXPECT_EQ(item.GetStringValue("hex"_w), WString("01d2f0ab9abcdef1"_w));
    EXPECT_EQ(item.GetDateValue("hex"_w), UtcTime(ticks, false));
    item.SetStringValue("iso"_w, "2021-03-04T05:06:07Z"_w);
    EXPECT_EQ(item.GetDateValue("iso"_w), UtcTime(2021, 3, 4, 5, 6, 7, 0, false));
    EXPECT_THROW(item.GetDateValue("missing"_w), std::invalid_argument);
}

TEST(DataResourceItemTest, PatternsOfIds)
{
    const auto matches = [](const WideLiteral& pattern, const char* text) {
        return std::regex_match(text, std::regex(StringUtilities::Utf16ToUtf8(pattern)));
    };
    EXPECT_TRUE(matches(ResourceIdPattern, "5ae95bbd-7C5B-4d0c-a48f-65d2bbba1bd5"));
    EXPECT_FALSE(matches(ResourceIdPattern, "5ae95bbd-7c5b-4d0c-a48f-65d2bbba1bd"));
    EXPECT_TRUE(matches(ResourceIdMemberPattern, "\"id\" :\t\"5ae95bbd-7c5b-4d0c-a48f-65d2bbba1bd5\""));
    EXPECT_FALSE(matches(ResourceIdMemberPattern, "\"id\":5ae95bbd-7c5b-4d0c-a48f-65d2bbba1bd5"));
}

} // namespace Quoll::Utilities
