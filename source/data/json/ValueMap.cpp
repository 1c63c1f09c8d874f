#include "Quoll/JsonObject.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Quoll::Json
{

ValueMap::ValueMap(ValueMap&& other) noexcept
    : m_chunk(std::move(other.m_chunk))
    , m_read(std::exchange(other.m_read, nullptr))
    , m_readCount(std::exchange(other.m_readCount, 0))
    , m_readObjects(std::exchange(other.m_readObjects, nullptr))
    , m_readObjectCount(std::exchange(other.m_readObjectCount, 0))
    , m_added(std::move(other.m_added))
{
}

ValueMap& ValueMap::operator=(ValueMap&& other) noexcept
{
    if (this != &other)
    {
        // What was here may own `other`, so it has to live to the end.
        const ValueMap before(std::move(*this));
        std::destroy_at(this);
        std::construct_at(this, std::move(other));
    }
    return *this;
}

ValueMap::~ValueMap()
{
    std::destroy_n(m_read, m_readCount);
    std::destroy_n(m_readObjects, m_readObjectCount);
    if (m_added != nullptr)
    {
        for (const auto& entry : *m_added)
        {
            delete[] entry.first.data();
        }
    }
}

void ValueMap::const_iterator::SettleAmongAdded() noexcept
{
    const bool isReadLeft = m_read != m_map->m_read + m_map->m_readCount;
    const bool isAddedLeft = m_added != m_map->m_added->end();
    m_isAdded = isAddedLeft && (!isReadLeft || m_added->first < m_read->first);
}

ValueMap::const_iterator& ValueMap::const_iterator::operator--() noexcept
{
    const bool isReadBefore = m_read != m_map->m_read;
    const bool isAddedBefore = m_map->m_added != nullptr && m_added != m_map->m_added->begin();
    m_isAdded = isAddedBefore && (!isReadBefore || m_read[-1].first < std::prev(m_added)->first);
    if (m_isAdded)
    {
        --m_added;
    }
    else
    {
        --m_read;
    }
    return *this;
}

ValueMap::value_type* ValueMap::LowerBoundRead(WStringView key) const noexcept
{
    return std::lower_bound(m_read, m_read + m_readCount, key,
                            [](const value_type& entry, WStringView wanted) { return entry.first < wanted; });
}

ValueMap::const_iterator ValueMap::lower_bound(WStringView key) const noexcept
{
    return {*this, LowerBoundRead(key), m_added != nullptr ? m_added->lower_bound(key) : Added::const_iterator()};
}

ValueMap::const_iterator ValueMap::find(WStringView key) const noexcept
{
    const const_iterator position = lower_bound(key);
    return position != end() && position->first == key ? position : end();
}

const DataValue& ValueMap::at(WStringView key) const
{
    const DataValue* const value = Find(key);
    if (value == nullptr)
    {
        throw std::out_of_range("ValueMap::at");
    }
    return *value;
}

const DataValue* ValueMap::Find(WStringView key) const noexcept
{
    const value_type* const read = LowerBoundRead(key);
    if (read != m_read + m_readCount && read->first == key)
    {
        return &read->second;
    }
    if (m_added == nullptr)
    {
        return nullptr;
    }
    const auto added = m_added->find(key);
    return added != m_added->end() ? &added->second : nullptr;
}

DataValue& ValueMap::FindOrAdd(WStringView key)
{
    const DataValue* const value = Find(key);
    return value != nullptr ? const_cast<DataValue&>(*value) : Add(key);
}

// Adds an entry that is missing.
DataValue& ValueMap::Add(WStringView key)
{
    if (m_added == nullptr)
    {
        m_added = std::make_unique<Added>();
    }
    auto units = std::make_unique_for_overwrite<WChar[]>(key.size());
    std::copy(key.begin(), key.end(), units.get());
    // Copies add their keys in order.
    const bool isLast = m_added->empty() || std::prev(m_added->end())->first < key;
    const auto position = isLast ? m_added->end() : m_added->lower_bound(key);
    DataValue& value = m_added->try_emplace(position, Key(WStringView(units.get(), key.size())))->second;
    units.release();
    return value;
}

} // namespace Quoll::Json
