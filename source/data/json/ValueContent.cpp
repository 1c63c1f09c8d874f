#include "data/json/ValueContent.h"

namespace Quoll::Json
{

ValueContent::ValueContent(const DataValue& value) noexcept
{
    switch (value.m_form)
    {
    case DataValue::Form::Text:
        m_text = WStringView(value.m_readText, value.m_readSize);
        m_views = &m_text;
        m_textCount = 1;
        break;
    case DataValue::Form::Texts:
        m_views = value.m_readTexts;
        m_textCount = value.m_readSize;
        break;
    case DataValue::Form::Objects:
        m_objects = value.m_readObjects;
        m_objectCount = value.m_readSize;
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
