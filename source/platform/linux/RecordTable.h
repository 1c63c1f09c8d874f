// Records behind handles that the kernel's objects know nothing of: timers and their queues.
//
// As in the handle table, a handle is an index and a generation, so that a stale or foreign value finds
// nothing; its lowest bits are a tag that no handle of the table has. The owner's lock guards a table. Memory
// is used again but never given back.
#pragma once

#include <windows.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace Quoll::Platform
{

template<class Record>
// NOLINTNEXTLINE(bugprone-crtp-constructor-accessibility): records are made by the table alone
struct TableEntry
{
    std::uint32_t index = 0;
    std::uint32_t generation = 0; // odd while a handle names the record
    Record* nextFree = nullptr;
};

/// Record derives from TableEntry<Record>. Tag is 1, 2 or 3.
template<class Record, unsigned Tag>
class RecordTable
{
public:
    /// A record as it was left, with a new handle; null without memory.
    Record* Open() noexcept
    {
        Record* const record = m_free != nullptr ? std::exchange(m_free, m_free->nextFree) : Add();
        if (record != nullptr)
        {
            ++record->generation;
        }
        return record;
    }
    /// The record's handle is dead; the record stays.
    void CloseHandle(Record& record) noexcept
    {
        ++record.generation;
    }
    /// Gives back a record whose handle is dead.
    void Recycle(Record& record) noexcept
    {
        record.nextFree = std::exchange(m_free, &record);
    }

    HANDLE HandleOf(const Record& record) const noexcept
    {
        const std::uint64_t key = (std::uint64_t{record.generation} << indexBits) | record.index;
        return std::bit_cast<HANDLE>((key << 2) | Tag);
    }
    /// Null for a value that names nothing.
    Record* Find(HANDLE handle) const noexcept
    {
        const auto bits = std::bit_cast<std::uint64_t>(handle);
        const std::uint64_t key = bits >> 2;
        const std::size_t index = key & ((std::size_t{1} << indexBits) - 1);
        if ((bits & 3) != Tag || index >= m_used)
        {
            return nullptr;
        }
        Record& record = At(index);
        return record.generation % 2 != 0 && record.generation == key >> indexBits ? &record : nullptr;
    }
    /// How many records there is memory for.
    std::size_t Capacity() const noexcept
    {
        return m_capacity;
    }

private:
    static constexpr unsigned indexBits = 24;
    static constexpr unsigned smallest = 6; // the binary logarithm of the first chunk's size; each next doubles it
    static constexpr std::size_t beforeFirst = std::size_t{1} << smallest;

    Record& At(std::size_t index) const noexcept
    {
        const std::size_t place = index + beforeFirst;
        const std::size_t top = std::bit_floor(place);
        return m_chunks[static_cast<unsigned>(std::countr_zero(top)) - smallest][place - top];
    }

    Record* Add() noexcept
    {
        if (m_used == m_capacity && !AddChunk())
        {
            return nullptr;
        }
        Record& record = At(m_used);
        record.index = static_cast<std::uint32_t>(m_used++);
        return &record;
    }

    bool AddChunk() noexcept
    {
        const auto place = static_cast<unsigned>(std::bit_width(m_used + beforeFirst)) - 1 - smallest;
        if (place == m_chunks.size())
        {
            return false;
        }
        const std::size_t size = beforeFirst << place;
        m_chunks[place] = new (std::nothrow) Record[size];
        m_capacity += m_chunks[place] != nullptr ? size : 0;
        return m_chunks[place] != nullptr;
    }

    std::array<Record*, indexBits - smallest> m_chunks{};
    std::size_t m_capacity = 0;
    std::size_t m_used = 0;
    Record* m_free = nullptr;
};

} // namespace Quoll::Platform
