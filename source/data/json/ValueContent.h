// What a value holds, without making strings of it.
#pragma once

#include "Quoll/JsonValue.h"
#include "data/json/PaddedText.h"

namespace Quoll::Json
{

class ValueContent
{
public:
    explicit ValueContent(const DataValue& value) noexcept;
    ValueContent(const ValueContent&) = delete;
    ValueContent& operator=(const ValueContent&) = delete;

    // Whether the value is one text that was read.
    static bool IsReadText(const DataValue& value) noexcept
    {
        return value.m_shape.form == DataValue::Form::Text;
    }
    static PaddedText GetReadText(const DataValue& value) noexcept
    {
        return {value.GetReadText(), value.m_shape.readSize};
    }

    std::size_t CountTexts() const noexcept
    {
        return m_textCount;
    }
    WStringView GetText(std::size_t index) const noexcept
    {
        // NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker): there are as many as were counted
        return m_strings != nullptr ? WStringView(m_strings[index]) : m_views[index];
    }
    std::size_t CountObjects() const noexcept
    {
        return m_objectCount;
    }
    // May be null.
    const std::shared_ptr<DataObject>& GetObject(std::size_t index) const noexcept
    {
        return m_objects[index];
    }

private:
    WStringView m_text;
    const WString* m_strings = nullptr; // of the two, one is set if there are texts
    const WStringView* m_views = nullptr;
    std::size_t m_textCount = 0;
    const std::shared_ptr<DataObject>* m_objects = nullptr;
    std::size_t m_objectCount = 0;
};

inline ValueContent::ValueContent(const DataValue& value) noexcept
{
    switch (value.m_shape.form)
    {
    case DataValue::Form::Text:
        m_text = WStringView(value.GetReadText(), value.m_shape.readSize);
        m_views = &m_text;
        m_textCount = 1;
        break;
    case DataValue::Form::Texts:
        m_views = value.GetReadTexts();
        m_textCount = value.m_shape.readSize;
        break;
    case DataValue::Form::Objects:
        m_objects = value.GetReadObjects();
        m_objectCount = value.m_shape.readSize;
        break;
    case DataValue::Form::Nothing:
        if (const DataValue::Lists* lists = value.m_lists.load(std::memory_order_acquire))
        {
            m_strings = lists->values.data();
            m_textCount = lists->values.size();
            m_objects = lists->objects.data();
            m_objectCount = lists->objects.size();
        }
        break;
    }
}

} // namespace Quoll::Json
