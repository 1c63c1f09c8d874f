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

// Small documents get what they need, messages of some length a middle size, and large documents share
// chunks of the largest.
constexpr std::size_t MinChunkSize = 512;
constexpr std::size_t MaxSmallChunkSize = 1024;
constexpr std::size_t MiddleChunkSize = std::size_t{4} * 1024;
constexpr std::size_t MaxChunkSize = std::size_t{32} * 1024;

// They hold 64 KiB and 4 MiB at most.
constinit ChunkStock<16> g_middleStock;
constinit ChunkStock<128> g_largeStock;

Chunk* TakeFromStock(std::size_t size) noexcept
{
    return size == MiddleChunkSize ? g_middleStock.Take() : size == MaxChunkSize ? g_largeStock.Take() : nullptr;
}

bool PutIntoStock(Chunk* chunk, std::size_t size) noexcept
{
    return size == MiddleChunkSize ? g_middleStock.Put(chunk) : size == MaxChunkSize && g_largeStock.Put(chunk);
}

constexpr std::size_t ChooseSize(std::size_t expected) noexcept
{
    const bool isMiddle = expected > MaxSmallChunkSize && expected <= MiddleChunkSize;
    return isMiddle ? MiddleChunkSize : std::clamp(expected, MinChunkSize, MaxChunkSize);
}

} // namespace

Chunk* Chunk::Make(std::size_t room)
{
    if (Chunk* const kept = TakeFromStock(room))
    {
        return new (kept) Chunk(room);
    }
    if (room > std::numeric_limits<std::size_t>::max() / 2)
    {
        throw std::bad_alloc();
    }
    room = RoundUp(room);
    return new (::operator new(RoundUp(sizeof(Chunk)) + room)) Chunk(room);
}

void Chunk::Free() noexcept
{
    const auto size = static_cast<std::size_t>(m_end - reinterpret_cast<std::byte*>(this));
    if (!PutIntoStock(this, size - RoundUp(sizeof(Chunk))))
    {
        this->~Chunk();
        ::operator delete(this);
    }
}

ChunkSource::ChunkSource(std::size_t expected) noexcept
    : m_size(ChooseSize(expected))
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
