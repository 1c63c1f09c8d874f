#include "data/json/Chunk.h"

#include "Quoll/JsonObject.h"
#include "data/json/ChunkStock.h"

#include <algorithm>
#include <limits>
#include <new>

namespace Quoll::Json::Detail
{

namespace
{

constexpr std::size_t MinChunkSize = 512;
constexpr std::size_t MaxChunkSize = 32 * 1024;

// Holds 4 MiB at most.
constinit ChunkStock g_stock;

} // namespace

Chunk* Chunk::Make(std::size_t room)
{
    if (room == MaxChunkSize)
    {
        if (Chunk* const kept = g_stock.Take())
        {
            return new (kept) Chunk(room);
        }
    }
    if (room > std::numeric_limits<std::size_t>::max() / 2)
    {
        throw std::bad_alloc();
    }
    room = RoundUp(room);
    return new (::operator new(RoundUp(sizeof(Chunk)) + room)) Chunk(room);
}

void Chunk::Drop(std::int64_t references) noexcept
{
    if (m_references.fetch_sub(references, std::memory_order_acq_rel) == references)
    {
        const bool isStockSize = static_cast<std::size_t>(m_end - reinterpret_cast<std::byte*>(this)) ==
                                 RoundUp(sizeof(Chunk)) + MaxChunkSize;
        if (!isStockSize || !g_stock.Put(this))
        {
            this->~Chunk();
            ::operator delete(this);
        }
    }
}

ChunkSource::ChunkSource(std::size_t expected) noexcept
    : m_size(std::clamp(expected, MinChunkSize, MaxChunkSize))
{
}

ChunkSource::~ChunkSource()
{
    for (Chunk* chunk : {m_shared, m_single})
    {
        if (chunk != nullptr)
        {
            chunk->Seal();
        }
    }
}

Chunk& ChunkSource::GetChunk(std::size_t room)
{
    if (m_shared != nullptr && m_shared->GetRoom() >= room)
    {
        return *m_shared;
    }
    if (room > m_size / 4)
    {
        Replace(m_single, room);
        return *m_single;
    }
    Replace(m_shared, m_size);
    return *m_shared;
}

void ChunkSource::Replace(Chunk*& chunk, std::size_t room)
{
    Chunk* const fresh = Chunk::Make(room);
    if (chunk != nullptr)
    {
        chunk->Seal();
    }
    chunk = fresh;
}

void ChunkReference::Retain() noexcept
{
    m_chunk->Retain();
}

void ChunkReference::Release() noexcept
{
    m_chunk->Release();
}

} // namespace Quoll::Json::Detail
