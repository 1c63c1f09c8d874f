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
        if (m_first != nullptr)
        {
            // The entries of large documents are no longer in the cache.
            __builtin_prefetch(m_first->m_values.m_read);
            __builtin_prefetch(m_first->m_values.m_readObjects);
        }
    }
    t_outermost = nullptr;
}

// Whether there are lists.
inline bool Dismantling::CollectLists(DataValue& value) noexcept
{
    DataValue::Lists* const lists = value.m_lists.load(std::memory_order_acquire);
    if (lists == nullptr)
    {
        return false;
    }
    value.DropRead(); // the lists have the same objects
    for (std::shared_ptr<DataObject>& object : lists->objects)
    {
        Collect(object);
    }
    return true;
}

void Dismantling::Collect(ValueMap& values) noexcept
{
    bool hasLists = false;
    for (std::size_t i = 0; i < values.m_readCount; ++i)
    {
        hasLists |= CollectLists(values.m_read[i].second);
    }
    if (!hasLists)
    {
        values.m_readCount = 0; // there is nothing in them to destroy
    }
    for (std::size_t i = 0; i < values.m_readObjectCount; ++i)
    {
        // Objects without objects can end with this one.
        std::shared_ptr<DataObject>& object = values.m_readObjects[i];
        if (object != nullptr && (object->m_values.m_readObjectCount != 0 || object->m_values.m_added != nullptr))
        {
            Collect(object);
        }
    }
    if (values.m_added != nullptr)
    {
        for (auto& [key, value] : *values.m_added)
        {
            CollectLists(value);
        }
    }
}

void Dismantling::Collect(DataValue& value) noexcept
{
    CollectLists(value);
    for (std::size_t i = 0; value.m_shape.form == DataValue::Form::Objects && i < value.m_shape.readSize; ++i)
    {
        Collect(value.GetReadObjects()[i]);
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
