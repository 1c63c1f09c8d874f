// Memory of objects that are read together.
//
// An object, its entries and their texts are one piece of a chunk, and each piece keeps its chunk.
// So an object that outlives its document keeps no more than the chunks with a piece of its own, and
// nothing is left once the last object is gone.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Quoll::Json::Detail
{

// A piece is taken by one thread, before others know the chunk; pieces are released by any.
class Chunk
{
public:
    static Chunk* Make(std::size_t room);

    std::size_t GetRoom() const noexcept
    {
        return static_cast<std::size_t>(m_end - m_next);
    }
    // Takes memory for any type, of at most GetRoom() bytes. One call of Release answers to each, and to each of
    // Retain.
    void* Take(std::size_t size) noexcept
    {
        ++m_taken;
        return TakeMore(size);
    }
    // The same for memory that is released with the piece before.
    void* TakeMore(std::size_t size) noexcept
    {
        std::byte* const piece = m_next;
        m_next += RoundUp(size);
        return piece;
    }
    void Retain() noexcept
    {
        m_references.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() noexcept
    {
        // The last one needs no atomic step, which would wait for all that was written before.
        if (m_references.load(std::memory_order_acquire) == 1 ||
            m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            Free();
        }
    }
    // No piece will be taken any more. Other threads don't know the chunk yet.
    void Seal() noexcept
    {
        const std::int64_t references = m_references.load(std::memory_order_relaxed) - (Unsealed - m_taken);
        m_references.store(references, std::memory_order_relaxed);
        if (references == 0)
        {
            Free();
        }
    }

    static constexpr std::size_t RoundUp(std::size_t size) noexcept
    {
        return (size + Alignment - 1) & ~(Alignment - 1);
    }

private:
    static constexpr std::size_t Alignment = alignof(std::max_align_t);
    // More references than there can be pieces, so that pieces needn't be counted one by one.
    static constexpr std::int64_t Unsealed = std::int64_t{1} << 62;

    explicit Chunk(std::size_t room) noexcept
        : m_next(reinterpret_cast<std::byte*>(this) + RoundUp(sizeof(Chunk)))
        , m_end(m_next + room)
    {
    }
    void Free() noexcept;

    std::atomic<std::int64_t> m_references = Unsealed;
    std::int64_t m_taken = 0;
    std::byte* m_next;
    std::byte* m_end;
};

// Gives a reader the chunks to take pieces from.
class ChunkSource
{
public:
    // `expected` is what all pieces together may need; a guess does.
    explicit ChunkSource(std::size_t expected) noexcept;
    ChunkSource(const ChunkSource&) = delete;
    ChunkSource& operator=(const ChunkSource&) = delete;
    ~ChunkSource();

    // A chunk with that much room, for one object. It is good until the next call.
    Chunk& GetChunk(std::size_t room);

private:
    void Replace(Chunk*& chunk, std::size_t room);

    std::size_t m_size;
    Chunk* m_shared = nullptr;
    Chunk* m_single = nullptr; // of an object too large to share
};

// Takes its one object's memory from a chunk.
template<class Type>
class ChunkAllocator
{
public:
    using value_type = Type;
    // What an allocation needs at most.
    static constexpr std::size_t MaxSize = 256;

    explicit ChunkAllocator(Chunk& chunk) noexcept
        : m_chunk(&chunk)
    {
    }
    // NOLINTBEGIN(google-explicit-constructor): what the standard asks of allocators
    template<class Other>
    ChunkAllocator(const ChunkAllocator<Other>& other) noexcept
        : m_chunk(other.GetChunk())
    {
    }
    // NOLINTEND(google-explicit-constructor)
    Type* allocate(std::size_t count) noexcept
    {
        static_assert(sizeof(Type) <= MaxSize);
        return static_cast<Type*>(m_chunk->Take(count * sizeof(Type)));
    }
    void deallocate(Type*, std::size_t) noexcept
    {
        m_chunk->Release();
    }
    Chunk* GetChunk() const noexcept
    {
        return m_chunk;
    }
    bool operator==(const ChunkAllocator& other) const noexcept = default;

private:
    Chunk* m_chunk;
};

} // namespace Quoll::Json::Detail
