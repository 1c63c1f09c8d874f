// What a value holds, without making strings of it.
#pragma once

#include "Quoll/JsonValue.h"

namespace Quoll::Json
{

class ValueContent
{
public:
    explicit ValueContent(const DataValue& value) noexcept;
    ValueContent(const ValueContent&) = delete;
    ValueContent& operator=(const ValueContent&) = delete;

    std::size_t CountTexts() const noexcept
    {
        return m_textCount;
    }
    WStringView GetText(std::size_t index) const noexcept
    {
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

} // namespace Quoll::Json
