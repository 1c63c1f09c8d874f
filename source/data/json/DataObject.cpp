#include "Quoll/JsonObject.h"
#include "data/json/DeepCopy.h"
#include "data/json/Dismantling.h"

#include <charconv>
#include <utility>

namespace Quoll::Json
{

namespace
{

const DataObject::StringList NoStrings;
const DataObject::ObjectList NoObjects;

template<class Number>
IntegerToken MakeToken(Number value)
{
    char digits[24];
    const auto result = std::to_chars(std::begin(digits), std::end(digits), value);
    return IntegerToken(WString(std::begin(digits), result.ptr));
}

} // namespace

DataObject::DataObject(const DataObject& other)
    : DataObject()
{
    DeepCopy::Make(other, *this);
}

DataObject::DataObject(DataObject&& other) noexcept
    : m_values(std::move(other.m_values))
{
}

DataObject& DataObject::operator=(const DataObject& other)
{
    if (this != &other)
    {
        *this = DataObject(other);
    }
    return *this;
}

DataObject& DataObject::operator=(DataObject&& other) noexcept
{
    if (this != &other)
    {
        // What was here may own `other`, so it has to live to the end.
        const DataObject before(std::move(*this));
        m_values = std::move(other.m_values);
    }
    return *this;
}

DataObject::~DataObject()
{
    Dismantling nested;
    nested.Collect(m_values);
}

bool DataObject::Contains(WStringView key) const noexcept
{
    return m_values.contains(key);
}

bool DataObject::IsEmpty() const noexcept
{
    return m_values.empty();
}

bool DataObject::IsNullValue(WStringView key) const noexcept
{
    const DataValue* const value = m_values.Find(key);
    return value == nullptr || value->IsNullValue();
}

bool DataObject::GetBooleanValue(WStringView key, bool defaultValue) const noexcept
{
    const DataValue* const value = m_values.Find(key);
    return value != nullptr ? value->GetBooleanValue(defaultValue) : defaultValue;
}

int DataObject::GetIntValue(WStringView key, int defaultValue) const noexcept
{
    const DataValue* const value = m_values.Find(key);
    return value != nullptr ? value->GetIntValue(defaultValue) : defaultValue;
}

std::uint64_t DataObject::GetUint64Value(WStringView key, std::uint64_t defaultValue) const noexcept
{
    const DataValue* const value = m_values.Find(key);
    return value != nullptr ? value->GetUint64Value(defaultValue) : defaultValue;
}

WString DataObject::GetStringValue(WStringView key, const WString& defaultValue) const
{
    const DataValue* const value = m_values.Find(key);
    return value != nullptr ? value->GetStringValue() : defaultValue;
}

std::shared_ptr<const DataObject> DataObject::GetDataObject(WStringView key) const
{
    const DataValue* const value = m_values.Find(key);
    return value != nullptr ? value->GetObject() : nullptr;
}

const DataObject::ObjectList& DataObject::GetObjectArray(WStringView key) const
{
    const DataValue* const value = m_values.Find(key);
    return value != nullptr ? value->GetObjectArray() : NoObjects;
}

const DataObject::StringList& DataObject::GetStringArray(WStringView key) const
{
    const DataValue* const value = m_values.Find(key);
    return value != nullptr ? value->GetStringArray() : NoStrings;
}

DataValue& DataObject::GetValue(WStringView key)
{
    return m_values.FindOrAdd(key);
}

void DataObject::SetBooleanValue(WStringView key, const BooleanToken& token)
{
    GetValue(key).SetBooleanValue(token);
}

void DataObject::SetIntValue(WStringView key, const IntegerToken& token)
{
    GetValue(key).SetIntValue(token);
}

void DataObject::SetIntValue(WStringView key, int value)
{
    SetIntValue(key, MakeToken(value));
}

void DataObject::SetUint64Value(WStringView key, std::uint64_t value)
{
    SetIntValue(key, MakeToken(value));
}

void DataObject::SetValue(WStringView key, WString text)
{
    GetValue(key).SetValue(std::move(text));
}

void DataObject::SetValue(WStringView key, StringList texts)
{
    DataValue array;
    array.SetEmptyStringArray();
    array.EditLists().values = std::move(texts);
    GetValue(key) = std::move(array);
}

void DataObject::SetNullValue(WStringView key)
{
    GetValue(key).SetNull();
}

void DataObject::SetObject(WStringView key, std::shared_ptr<DataObject> object)
{
    GetValue(key).SetObject(std::move(object));
}

void DataObject::SetObjectArray(WStringView key, ObjectList objects)
{
    DataValue array;
    array.SetEmptyObjectArray();
    array.EditLists().objects = std::move(objects);
    GetValue(key) = std::move(array);
}

void DataObject::SetEmptyObjectArrayValue(WStringView key)
{
    GetValue(key).SetEmptyObjectArray();
}

void DataObject::SetEmptyStringArrayValue(WStringView key)
{
    GetValue(key).SetEmptyStringArray();
}

bool DataObject::Contains(const DataObject* object, WStringView key) noexcept
{
    return object != nullptr && object->Contains(key);
}

bool DataObject::IsEmpty(const DataObject* object) noexcept
{
    return object == nullptr || object->IsEmpty();
}

bool DataObject::IsNullValue(const DataObject* object, WStringView key) noexcept
{
    return object == nullptr || object->IsNullValue(key);
}

bool DataObject::GetBooleanValue(const DataObject* object, WStringView key, bool defaultValue) noexcept
{
    return object != nullptr ? object->GetBooleanValue(key, defaultValue) : defaultValue;
}

int DataObject::GetIntValue(const DataObject* object, WStringView key, int defaultValue) noexcept
{
    return object != nullptr ? object->GetIntValue(key, defaultValue) : defaultValue;
}

std::uint64_t DataObject::GetUint64Value(const DataObject* object, WStringView key, std::uint64_t defaultValue) noexcept
{
    return object != nullptr ? object->GetUint64Value(key, defaultValue) : defaultValue;
}

WString DataObject::GetStringValue(const DataObject* object, WStringView key, const WString& defaultValue)
{
    return object != nullptr ? object->GetStringValue(key, defaultValue) : defaultValue;
}

std::shared_ptr<const DataObject> DataObject::GetDataObject(const DataObject* object, WStringView key)
{
    return object != nullptr ? object->GetDataObject(key) : nullptr;
}

const DataObject::ObjectList& DataObject::GetObjectArray(const DataObject* object, WStringView key)
{
    return object != nullptr ? object->GetObjectArray(key) : NoObjects;
}

const DataObject::StringList& DataObject::GetStringArray(const DataObject* object, WStringView key)
{
    return object != nullptr ? object->GetStringArray(key) : NoStrings;
}

} // namespace Quoll::Json
