#include "Quoll/JsonObject.h"
#include "core/CharacterClass.h"
#include "data/json/DeepCopy.h"
#include "data/json/Dismantling.h"
#include "data/json/Numbers.h"
#include "data/json/ValueContent.h"

#include <algorithm>
#include <utility>

namespace Quoll::Json
{

namespace
{

constexpr WideLiteral True = "true"_w;
constexpr WideLiteral False = "false"_w;

const WString EmptyText;
const DataValue::StringList NoStrings;
const DataValue::ObjectList NoObjects;

bool IsOnlyDigits(WStringView text) noexcept
{
    return !text.empty() && std::all_of(text.begin(), text.end(), Utilities::IsDigit);
}

} // namespace

IntegerToken::IntegerToken()
    : m_text("0"_w)
{
}

IntegerToken::IntegerToken(WString text)
    : m_text(std::move(text))
{
}

BooleanToken::BooleanToken()
    : m_text(False)
{
}

BooleanToken BooleanToken::MakeTrue()
{
    return BooleanToken(WString(True));
}

BooleanToken::BooleanToken(WString text)
    : m_text(std::move(text))
{
}

DataValue::DataValue(const DataValue& other)
    : DataValue()
{
    DeepCopy::Make(other, *this);
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor)
DataValue::DataValue(DataValue&& other)
    : DataValue()
{
    Take(other);
}

DataValue& DataValue::operator=(const DataValue& other)
{
    if (this != &other)
    {
        *this = DataValue(other);
    }
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor)
DataValue& DataValue::operator=(DataValue&& other)
{
    if (this != &other)
    {
        // What was here may own `other`, so it has to live to the end.
        DataValue before;
        before.Take(*this);
        Take(other);
    }
    return *this;
}

void DataValue::Delete(const Lists* lists) noexcept
{
    delete lists;
}

// Into a null value.
void DataValue::Take(DataValue& other)
{
    if (other.m_shape.form != Form::Nothing)
    {
        other.EditLists();
    }
    m_lists = other.m_lists.exchange(nullptr);
    m_shape.type = std::exchange(other.m_shape.type, EType::Null);
    m_shape.isArray = std::exchange(other.m_shape.isArray, false);
}

bool DataValue::IsEmpty() const noexcept
{
    switch (m_shape.type)
    {
    case EType::EmptyArray:
        return true;
    case EType::Object:
        return GetFirstObject() == nullptr;
    default:
        return !HasText();
    }
}

const WString& DataValue::GetString() const
{
    if (m_shape.isArray || !HasText())
    {
        return EmptyText;
    }
    return GetLists().values.front();
}

WString DataValue::GetStringValue() const
{
    return WString(GetFirstText());
}

bool DataValue::GetBooleanValue(bool defaultValue) const noexcept
{
    if (m_shape.type != EType::Boolean)
    {
        return defaultValue;
    }
    const WStringView text = GetFirstText();
    return text == True || (text != False && defaultValue);
}

int DataValue::GetIntValue(int defaultValue) const noexcept
{
    const WStringView text = GetFirstText();
    if (!HasText() || (m_shape.type != EType::Integer && !IsOnlyDigits(text)))
    {
        return defaultValue;
    }
    return ToInt32(ReadDecimal(text)).value_or(defaultValue);
}

std::uint64_t DataValue::GetUint64Value(std::uint64_t defaultValue) const noexcept
{
    const WStringView text = GetFirstText();
    if (!HasText() || (m_shape.type != EType::Integer && !IsOnlyDigits(text)))
    {
        return defaultValue;
    }
    return ToUint64(ReadDecimal(text)).value_or(defaultValue);
}

std::shared_ptr<DataObject> DataValue::GetObject() const
{
    const std::shared_ptr<DataObject>* object = m_shape.type == EType::Object ? GetFirstObject() : nullptr;
    return object != nullptr ? *object : nullptr;
}

const DataValue::StringList& DataValue::GetStringArray() const
{
    return m_shape.isArray && HasText() ? GetLists().values : NoStrings;
}

const DataValue::ObjectList& DataValue::GetObjectArray() const
{
    return m_shape.isArray && GetFirstObject() != nullptr ? GetLists().objects : NoObjects;
}

void DataValue::SetValue(WString text, EType type)
{
    StringList values;
    values.push_back(std::move(text));
    EditLists().values.swap(values);
    m_shape.type = type;
}

void DataValue::SetBooleanValue(const BooleanToken& token)
{
    SetValue(token.GetText(), EType::Boolean);
}

void DataValue::SetIntValue(const IntegerToken& token)
{
    SetValue(token.GetText(), EType::Integer);
}

void DataValue::SetNull() noexcept
{
    m_shape.type = EType::Null;
    ClearLists();
}

void DataValue::SetObject(std::shared_ptr<DataObject> object)
{
    // What is replaced may own this value, so it has to live to the end.
    ObjectList objects;
    objects.push_back(std::move(object));
    EditLists().objects.swap(objects);
    m_shape.type = EType::Object;
}

void DataValue::SetEmptyStringArray() noexcept
{
    m_shape.isArray = true;
    m_shape.type = EType::String;
    ClearLists();
}

void DataValue::SetEmptyObjectArray() noexcept
{
    m_shape.isArray = true;
    m_shape.type = EType::Object;
    ClearLists();
}

void DataValue::AddStringValue(WString text)
{
    AddText(std::move(text), EType::String);
}

void DataValue::AddBooleanValue(const BooleanToken& token)
{
    AddText(token.GetText(), EType::Boolean);
}

void DataValue::AddIntValue(const IntegerToken& token)
{
    AddText(token.GetText(), EType::Integer);
}

void DataValue::AddText(WString text, EType type)
{
    StringList& values = EditLists().values;
    values.push_back(std::move(text));
    if (values.size() == 1)
    {
        m_shape.type = type;
        m_shape.isArray = true;
    }
}

void DataValue::AddObject(std::shared_ptr<DataObject> object)
{
    ObjectList& objects = EditLists().objects;
    objects.push_back(std::move(object));
    if (objects.size() == 1)
    {
        m_shape.type = EType::Object;
        m_shape.isArray = true;
    }
}

void DataValue::AddEmptyArray() noexcept
{
    if (m_shape.type == EType::Null)
    {
        m_shape.type = EType::EmptyArray;
        m_shape.isArray = true;
        ClearLists();
    }
}

bool DataValue::HasText() const noexcept
{
    return ValueContent(*this).CountTexts() > 0;
}

WStringView DataValue::GetFirstText() const noexcept
{
    const ValueContent content(*this);
    return content.CountTexts() > 0 ? content.GetText(0) : WStringView();
}

const std::shared_ptr<DataObject>* DataValue::GetFirstObject() const noexcept
{
    const ValueContent content(*this);
    return content.CountObjects() > 0 ? &content.GetObject(0) : nullptr;
}

// Several threads may come here at once; the lists of the first are kept.
const DataValue::Lists& DataValue::GetLists() const
{
    Lists* lists = m_lists.load(std::memory_order_acquire);
    if (lists != nullptr)
    {
        return *lists;
    }
    auto made = std::make_unique<Lists>();
    const ValueContent content(*this);
    made->values.reserve(content.CountTexts());
    for (std::size_t i = 0; i < content.CountTexts(); ++i)
    {
        made->values.emplace_back(content.GetText(i));
    }
    for (std::size_t i = 0; i < content.CountObjects(); ++i)
    {
        made->objects.push_back(content.GetObject(i));
    }
    if (m_lists.compare_exchange_strong(lists, made.get(), std::memory_order_acq_rel))
    {
        return *made.release();
    }
    return *lists;
}

DataValue::Lists& DataValue::EditLists()
{
    Lists& lists = const_cast<Lists&>(GetLists());
    DropRead();
    return lists;
}

void DataValue::ClearLists() noexcept
{
    // What is dropped may own this value, so it has to live to the end.
    Dismantling objects;
    objects.Collect(*this);
    const std::unique_ptr<Lists> lists(m_lists.exchange(nullptr));
    DropRead();
}

void DataValue::DropRead() noexcept
{
    const Form form = std::exchange(m_shape.form, Form::Nothing);
    for (std::size_t i = 0; form == Form::Objects && i < m_shape.readSize; ++i)
    {
        GetReadObjects()[i].reset();
    }
}

} // namespace Quoll::Json
