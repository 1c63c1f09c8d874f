#include "data/json/DeepCopy.h"

#include "data/json/ValueContent.h"

namespace Quoll::Json
{

void DeepCopy::Make(const DataValue& from, DataValue& to)
{
    DeepCopy copy;
    copy.Copy(from, to);
    copy.Finish();
}

void DeepCopy::Make(const DataObject& from, DataObject& to)
{
    DeepCopy copy;
    copy.Copy(from, to);
    copy.Finish();
}

void DeepCopy::Copy(const DataValue& from, DataValue& to)
{
    const ValueContent content(from);
    auto lists = std::make_unique<DataValue::Lists>();
    lists->values.reserve(content.CountTexts());
    for (std::size_t i = 0; i < content.CountTexts(); ++i)
    {
        lists->values.emplace_back(content.GetText(i));
    }
    lists->objects.reserve(content.CountObjects());
    for (std::size_t i = 0; i < content.CountObjects(); ++i)
    {
        const DataObject* const object = content.GetObject(i).get();
        lists->objects.push_back(object != nullptr ? std::make_shared<DataObject>() : nullptr);
        if (object != nullptr)
        {
            m_pending.emplace_back(object, lists->objects.back().get());
        }
    }
    to.m_lists = lists.release();
    to.m_shape.type = from.m_shape.type;
    to.m_shape.isArray = from.m_shape.isArray;
}

void DeepCopy::Copy(const DataObject& from, DataObject& to)
{
    for (const auto& [key, value] : from.GetValueMap())
    {
        Copy(value, to.m_values.Add(key));
    }
}

void DeepCopy::Finish()
{
    while (!m_pending.empty())
    {
        const auto [from, to] = m_pending.back();
        m_pending.pop_back();
        Copy(*from, *to);
    }
}

} // namespace Quoll::Json
