// A stack that needs no memory of its own while it is small.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace Quoll::Json
{

template<class Type, std::size_t InlineCount>
class Stack
{
    static_assert(std::is_nothrow_move_constructible_v<Type>);

public:
    Stack() noexcept
        : m_items(reinterpret_cast<Type*>(m_inline))
    {
    }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    ~Stack()
    {
        Shrink(0);
        FreeItems();
    }

    std::size_t GetSize() const noexcept
    {
        return m_size;
    }
    Type& operator[](std::size_t index) noexcept
    {
        return m_items[index];
    }
    const Type& operator[](std::size_t index) const noexcept
    {
        return m_items[index];
    }
    Type& GetTop() noexcept
    {
        return m_items[m_size - 1];
    }
    const Type& GetTop() const noexcept
    {
        return m_items[m_size - 1];
    }
    Type* begin() noexcept
    {
        return m_items;
    }
    Type* end() noexcept
    {
        return m_items + m_size;
    }
    Type& Push(Type item)
    {
        if (m_size == m_capacity)
        {
            Grow(1);
        }
        std::construct_at(m_items + m_size, std::move(item));
        return m_items[m_size++];
    }
    // An item without a value yet.
    Type& Push()
        requires std::is_trivially_default_constructible_v<Type>
    {
        if (m_size == m_capacity)
        {
            Grow(1);
        }
        return *new (m_items + m_size++) Type;
    }
    // Room for so many more items behind the last.
    Type* Reserve(std::size_t count)
    {
        if (m_capacity - m_size < count)
        {
            Grow(count);
        }
        return m_items + m_size;
    }
    // Makes items of what was put into that room, and tells where they begin.
    std::size_t Take(std::size_t count) noexcept
    {
        return std::exchange(m_size, m_size + count);
    }
    void Shrink(std::size_t size) noexcept
    {
        std::destroy(m_items + size, m_items + m_size);
        m_size = size;
    }

private:
    void Grow(std::size_t count)
    {
        const std::size_t capacity = std::max(m_capacity * 2, m_size + count);
        auto* const items = static_cast<Type*>(::operator new(capacity * sizeof(Type)));
        std::uninitialized_move_n(m_items, m_size, items);
        std::destroy_n(m_items, m_size);
        FreeItems();
        m_items = items;
        m_capacity = capacity;
    }
    void FreeItems() noexcept
    {
        if (m_capacity != InlineCount)
        {
            ::operator delete(m_items);
        }
    }

    Type* m_items;
    std::size_t m_size = 0;
    std::size_t m_capacity = InlineCount;
    alignas(Type) std::byte m_inline[InlineCount * sizeof(Type)];
};

} // namespace Quoll::Json
