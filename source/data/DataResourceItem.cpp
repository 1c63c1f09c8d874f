#include "Quoll/DataResourceItem.h"

#include "Quoll/JsonReader.h"

#include <stdexcept>
#include <utility>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

constexpr WideLiteral IdName = "id"_w;
constexpr WideLiteral TypeName = "type"_w;
constexpr WideLiteral AttributesName = "attributes"_w;

std::shared_ptr<Json::DataObject> Require(std::shared_ptr<Json::DataObject> document, const char* complaint)
{
    if (document == nullptr)
    {
        throw std::invalid_argument(complaint);
    }
    return document;
}

} // namespace

IDataResourceItem::~IDataResourceItem() = default;

DataResourceItem::DataResourceItem(const WString& id, const WString& type)
    : m_root(std::make_shared<Json::DataObject>())
{
    if (!id.empty())
    {
        m_root->SetValue(IdName, id);
    }
    if (!type.empty())
    {
        m_root->SetValue(TypeName, type);
    }
    InitAttributesPointer();
}

DataResourceItem::DataResourceItem(WStringView text)
    : m_root(Require(Json::JsonReader::Decode(text, true), "The text of a resource item is no valid JSON document"))
{
    InitAttributesPointer();
}

DataResourceItem::DataResourceItem(std::shared_ptr<Json::DataObject> document)
    : m_root(Require(std::move(document), "A resource item has no JSON document"))
{
    InitAttributesPointer();
}

// There is no moving: an item that was moved from would have no document.
DataResourceItem::DataResourceItem(const DataResourceItem& other) = default;

DataResourceItem& DataResourceItem::operator=(const DataResourceItem& other) = default;

DataResourceItem::~DataResourceItem() = default;

void DataResourceItem::InitAttributesPointer()
{
    if (m_root->Contains(AttributesName))
    {
        const Json::DataValue& value = m_root->GetValue(AttributesName);
        m_attributes = value.GetObject();
        if (m_attributes == nullptr && !value.IsNullValue() && !value.IsObject())
        {
            throw std::invalid_argument("The attributes of a resource item are no JSON object");
        }
    }
    if (m_attributes == nullptr)
    {
        m_attributes = std::make_shared<Json::DataObject>();
        Json::DataValue object;
        object.SetObject(m_attributes);
        m_root->GetValue(AttributesName) = std::move(object);
    }
}

WString DataResourceItem::GetId() const
{
    return m_root->GetStringValue(IdName);
}

void DataResourceItem::SetId(const WString& id)
{
    m_root->SetValue(IdName, id);
}

WString DataResourceItem::GetType() const
{
    return m_root->GetStringValue(TypeName);
}

void DataResourceItem::SetType(const WString& type)
{
    m_root->SetValue(TypeName, type);
}

WString DataResourceItem::GetStringValue(WStringView name) const
{
    return m_attributes->GetStringValue(name);
}

void DataResourceItem::SetStringValue(WStringView name, const WString& value)
{
    m_attributes->SetValue(name, value);
}

int DataResourceItem::GetIntValue(WStringView name) const
{
    return m_attributes->GetIntValue(name);
}

UtcTime DataResourceItem::GetDateValue(WStringView name) const
{
    const WString text = m_attributes->GetStringValue(name);
    const bool isIso8601 = UtcTime::IsISO8601DateTime(text);
    return {text, isIso8601 ? UtcTime::StringValue::Iso8601T : UtcTime::StringValue::FileTimeHex, false};
}

void DataResourceItem::SetIntValue(WStringView name, int value)
{
    m_attributes->SetIntValue(name, value);
}

std::uint64_t DataResourceItem::GetUint64Value(WStringView name) const
{
    return m_attributes->GetUint64Value(name);
}

void DataResourceItem::SetUint64Value(WStringView name, std::uint64_t value)
{
    m_attributes->SetUint64Value(name, value);
}

void DataResourceItem::SetDateValue(WStringView name, const UtcTime& value)
{
    m_attributes->SetValue(name, value.ToString(UtcTime::StringValue::FileTimeHex, false));
}

bool DataResourceItem::GetBoolValue(WStringView name) const
{
    return m_attributes->GetBooleanValue(name);
}

void DataResourceItem::SetBoolValue(WStringView name, bool value)
{
    m_attributes->SetBooleanValue(name, value);
}

std::shared_ptr<Json::DataObject> DataResourceItem::AsDataObject() const
{
    return m_root;
}

void DataResourceItem::SetStringArrayValue(WStringView name, const StringList& values)
{
    m_attributes->SetValue(name, values);
}

const IDataResourceItem::StringList& DataResourceItem::GetStringArrayValue(WStringView name) const
{
    return m_attributes->GetStringArray(name);
}

void DataResourceItem::SetObjectArrayValue(WStringView name, const ObjectList& values)
{
    m_attributes->SetObjectArray(name, values);
}

const IDataResourceItem::ObjectList& DataResourceItem::GetObjectArrayValue(WStringView name) const
{
    return m_attributes->GetObjectArray(name);
}

void DataResourceItem::SetObjectValue(WStringView name, const std::shared_ptr<Json::DataObject>& value)
{
    m_attributes->SetObject(name, value);
}

std::shared_ptr<const Json::DataObject> DataResourceItem::GetObjectValue(WStringView name) const
{
    return m_attributes->GetDataObject(name);
}

} // namespace Quoll::Utilities
