#include "Quoll/JsonObject.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Quoll::Json
{

ValueMap::ValueMap() noexcept = default;

ValueMap::ValueMap(ValueMap&& other) noexcept
    : m_chunk(std::move(other.m_chunk))
    , m_read(std::exchange(other.m_read, nullptr))
    , m_readCount(std::exchange(other.m_readCount, 0))
    , m_added(std::move(other.m_added))
{
    other.m_added.clear();
}

ValueMap& ValueMap::operator=(ValueMap&& other) noexcept
{
    // What was here may own `other`, so it has to live to the end.
    const ValueMap before(std::move(*this));
    std::swap(m_chunk, other.m_chunk);
    std::swap(m_read, other.m_read);
    std::swap(m_readCount, other.m_readCount);
    m_added.swap(other.m_added);
    return *this;
}

ValueMap::~ValueMap()
{
    std::destroy_n(m_read, m_readCount);
    for (const auto& entry : m_added)
    {
        delete[] entry.first.data();
    }
}

void ValueMap::const_iterator::SettleAmongAdded() noexcept
{
    const bool isReadLeft = m_read != m_map->m_read + m_map->m_readCount;
    const bool isAddedLeft = m_added != m_map->m_added.end();
    m_isAdded = isAddedLeft && (!isReadLeft || m_added->first < m_read->first);
}

ValueMap::const_iterator& ValueMap::const_iterator::operator--() noexcept
{
    const bool isReadBefore = m_read != m_map->m_read;
    const bool isAddedBefore = m_added != m_map->m_added.begin();
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
    return {*this, LowerBoundRead(key), m_added.lower_bound(key)};
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
    const auto added = m_added.find(key);
    return added != m_added.end() ? &added->second : nullptr;
}

DataValue& ValueMap::FindOrAdd(WStringView key)
{
    const DataValue* const value = Find(key);
    return value != nullptr ? const_cast<DataValue&>(*value) : Add(m_added.lower_bound(key), key);
}

// Adds an entry that is missing. The position is that of the next one that was added.
DataValue& ValueMap::Add(Added::const_iterator position, WStringView key)
{
    auto units = std::make_unique_for_overwrite<WChar[]>(key.size());
    std::copy(key.begin(), key.end(), units.get());
    DataValue& value = m_added.try_emplace(position, Key(WStringView(units.get(), key.size())))->second;
    units.release();
    return value;
}

} // namespace Quoll::Json
