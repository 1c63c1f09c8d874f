#include "data/json/Dismantling.h"

#include <utility>

namespace Quoll::Json
{

namespace
{

// What the thread is destroying already.
thread_local Dismantling* t_outermost = nullptr;

} // namespace

Dismantling::~Dismantling()
{
    if (m_first == nullptr)
    {
        return;
    }
    if (t_outermost != nullptr)
    {
        HandOverTo(*t_outermost);
        return;
    }
    t_outermost = this;
    while (m_first != nullptr)
    {
        const std::shared_ptr<DataObject> object = std::exchange(m_first, std::move(m_first->m_nextDoomed));
    }
    t_outermost = nullptr;
}

void Dismantling::Collect(ValueMap& values) noexcept
{
    for (std::size_t i = 0; i < values.m_readCount; ++i)
    {
        if (values.m_read[i].second.OwnsMemory())
        {
            Collect(values.m_read[i].second);
        }
    }
    if (values.m_added != nullptr)
    {
        for (auto& [key, value] : *values.m_added)
        {
            Collect(value);
        }
    }
}

void Dismantling::Collect(DataValue& value) noexcept
{
    DataValue::Lists* const lists = value.m_lists.load(std::memory_order_acquire);
    if (lists != nullptr)
    {
        value.DropRead(); // the lists have the same objects
        for (std::shared_ptr<DataObject>& object : lists->objects)
        {
            Collect(object);
        }
    }
    else if (value.m_form == DataValue::Form::Objects)
    {
        for (std::size_t i = 0; i < value.m_readSize; ++i)
        {
            Collect(value.m_readObjects[i]);
        }
        value.DropRead();
    }
}

void Dismantling::Collect(std::shared_ptr<DataObject>& object) noexcept
{
    if (object == nullptr || object.use_count() != 1)
    {
        return;
    }
    DataObject* const last = m_first != nullptr ? m_last : object.get();
    object->m_nextDoomed = std::move(m_first);
    m_first = std::move(object);
    m_last = last;
}

void Dismantling::HandOverTo(Dismantling& other) noexcept
{
    if (other.m_first == nullptr)
    {
        other.m_last = m_last;
    }
    m_last->m_nextDoomed = std::move(other.m_first);
    other.m_first = std::move(m_first);
}

} // namespace Quoll::Json
