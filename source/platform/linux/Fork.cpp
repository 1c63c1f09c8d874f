#include "platform/linux/Fork.h"

#include "platform/linux/HandleTable.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>

#include <pthread.h>
#include <unistd.h>

namespace Quoll::Platform
{
namespace
{

// A bit for each descriptor, in chunks made when they are needed: lock-free to read in the child,
// where a lock may have been held by a thread that doesn't exist there.
constexpr std::size_t bitsInWord = 64;
constexpr std::size_t wordsInChunk = 128;
constexpr std::size_t bitsInChunk = bitsInWord * wordsInChunk;
constexpr std::size_t chunkCount = 256; // two million descriptors

using Chunk = std::array<std::atomic<std::uint64_t>, wordsInChunk>;
constinit std::array<std::atomic<Chunk*>, chunkCount> chunks{};

std::atomic<std::uint64_t>* WordOf(int descriptor) noexcept
{
    const auto index = static_cast<std::size_t>(descriptor);
    if (descriptor < 0 || index >= bitsInChunk * chunkCount)
    {
        return nullptr;
    }
    auto& place = chunks[index / bitsInChunk];
    Chunk* chunk = place.load(std::memory_order_acquire);
    if (chunk == nullptr)
    {
        Chunk* const made = new (std::nothrow) Chunk{};
        if (made == nullptr || !place.compare_exchange_strong(chunk, made, std::memory_order_acq_rel))
        {
            delete made;
        }
        else
        {
            chunk = made;
        }
    }
    return chunk == nullptr ? nullptr : &(*chunk)[index % bitsInChunk / bitsInWord];
}

std::uint64_t BitOf(int descriptor) noexcept
{
    return std::uint64_t{1} << (static_cast<std::size_t>(descriptor) % bitsInWord);
}

void CloseOwnedInChild() noexcept
{
    HandleTable::Invalidate();
    for (std::size_t c = 0; c < chunkCount; ++c)
    {
        const Chunk* const chunk = chunks[c].load(std::memory_order_relaxed);
        for (std::size_t bit = 0; chunk != nullptr && bit < bitsInChunk; ++bit)
        {
            const std::uint64_t word = (*chunk)[bit / bitsInWord].load(std::memory_order_relaxed);
            if (((word >> (bit % bitsInWord)) & 1) != 0)
            {
                close(static_cast<int>(c * bitsInChunk + bit));
            }
        }
    }
}

} // namespace

void PrepareForFork() noexcept
{
    static std::once_flag once;
    std::call_once(once, [] { pthread_atfork(nullptr, nullptr, CloseOwnedInChild); });
}

int NoteOwned(int descriptor) noexcept
{
    if (auto* const word = WordOf(descriptor))
    {
        word->fetch_or(BitOf(descriptor), std::memory_order_relaxed);
    }
    return descriptor;
}

void CloseOwned(int descriptor) noexcept
{
    if (descriptor < 0)
    {
        return;
    }
    if (auto* const word = WordOf(descriptor))
    {
        word->fetch_and(~BitOf(descriptor), std::memory_order_relaxed);
    }
    close(descriptor);
}

} // namespace Quoll::Platform
