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
        : m_begin(reinterpret_cast<Type*>(m_inline))
        , m_end(m_begin)
        , m_limit(m_begin + InlineCount)
    {
    }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    ~Stack()
    {
        std::destroy(m_begin, m_end);
        FreeItems();
    }

    std::size_t GetSize() const noexcept
    {
        return static_cast<std::size_t>(m_end - m_begin);
    }
    Type& operator[](std::size_t index) noexcept
    {
        return m_begin[index];
    }
    const Type& operator[](std::size_t index) const noexcept
    {
        return m_begin[index];
    }
    Type& GetTop() noexcept
    {
        return m_end[-1];
    }
    const Type& GetTop() const noexcept
    {
        return m_end[-1];
    }
    Type* begin() noexcept
    {
        return m_begin;
    }
    Type* end() noexcept
    {
        return m_end;
    }
    Type& Push(Type item)
    {
        Type& top = *std::construct_at(Reserve(1), std::move(item));
        ++m_end;
        return top;
    }
    // An item without a value yet.
    Type& Push()
        requires std::is_trivially_default_constructible_v<Type>
    {
        Type& top = *new (Reserve(1)) Type;
        ++m_end;
        return top;
    }
    // Room for so many more items behind the last.
    Type* Reserve(std::size_t count)
    {
        if (static_cast<std::size_t>(m_limit - m_end) < count) [[unlikely]]
        {
            Grow(count);
        }
        return m_end;
    }
    // Room for so many more behind what was put there already, which stays; tells where that room begins.
    Type* ReserveBehind(Type* put, std::size_t count)
        requires std::is_trivially_copyable_v<Type>
    {
        if (static_cast<std::size_t>(m_limit - put) < count) [[unlikely]]
        {
            const auto size = static_cast<std::size_t>(put - m_end);
            m_end = put;
            Grow(count);
            put = m_end;
            m_end -= size;
        }
        return put;
    }
    // Makes items of what was put into that room.
    void Take(std::size_t count) noexcept
    {
        m_end += count;
    }
    void Shrink(std::size_t size) noexcept
    {
        Type* const end = m_begin + size;
        std::destroy(end, m_end);
        m_end = end;
    }

private:
    [[gnu::noinline]] void Grow(std::size_t count)
    {
        const std::size_t size = GetSize();
        const std::size_t capacity = std::max(2 * static_cast<std::size_t>(m_limit - m_begin), size + count);
        auto* const items = static_cast<Type*>(::operator new(capacity * sizeof(Type)));
        std::uninitialized_move(m_begin, m_end, items);
        std::destroy(m_begin, m_end);
        FreeItems();
        m_begin = items;
        m_end = items + size;
        m_limit = items + capacity;
    }
    void FreeItems() noexcept
    {
        if (m_begin != reinterpret_cast<Type*>(m_inline))
        {
            ::operator delete(m_begin);
        }
    }

    Type* m_begin;
    Type* m_end;
    Type* m_limit;
    alignas(Type) std::byte m_inline[InlineCount * sizeof(Type)];
};

} // namespace Quoll::Json
