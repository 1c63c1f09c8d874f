#include "platform/linux/HandleTable.h"

#include "platform/linux/ErrnoTable.h"
#include "platform/linux/Fork.h"

#include <array>
#include <bit>
#include <mutex>
#include <new>

namespace Quoll::Platform
{

// One word decides everything: generation in the upper half, then 31 bits that count pins, then
// whether the handle is open.
struct HandleTable::Slot
{
    std::atomic<std::uint64_t> word{0};
    Object* object = nullptr;
    std::uint32_t index = 0;
    Slot* nextFree = nullptr;
};

namespace
{

using Slot = HandleTable::Slot;

constexpr std::uint64_t openBit = 1;
constexpr std::uint64_t onePin = 2;
constexpr unsigned generationShift = 32;
constexpr unsigned indexBits = 24;
constexpr std::size_t slotsInChunk = 4096;
constexpr std::size_t chunkCount = (std::size_t{1} << indexBits) / slotsInChunk;

constinit std::array<std::atomic<Slot*>, chunkCount> chunks{};
constinit std::mutex tableLock;
constinit Slot* freeSlots = nullptr; // guarded by tableLock
constinit std::size_t slotCount = 0; // guarded by tableLock

std::uint32_t Generation(std::uint64_t word) noexcept
{
    return static_cast<std::uint32_t>(word >> generationShift);
}

bool HasPins(std::uint64_t word) noexcept
{
    return (word & 0xFFFFFFFE) != 0;
}

HANDLE MakeHandle(const Slot& slot, std::uint32_t generation) noexcept
{
    const std::uint64_t key = (std::uint64_t{generation} << indexBits) | slot.index;
    return std::bit_cast<HANDLE>(key << 2);
}

// The slot that a handle's bits point at, whatever its generation is now.
Slot* Locate(HANDLE handle, std::uint32_t& generation) noexcept
{
    const auto bits = std::bit_cast<std::uint64_t>(handle);
    const std::uint64_t key = bits >> 2;
    generation = static_cast<std::uint32_t>(key >> indexBits);
    if ((bits & 3) != 0 || generation == 0 || (key >> indexBits) != generation)
    {
        return nullptr;
    }
    const std::size_t index = key & ((std::uint64_t{1} << indexBits) - 1);
    Slot* const chunk = chunks[index / slotsInChunk].load(std::memory_order_acquire);
    return chunk == nullptr ? nullptr : chunk + index % slotsInChunk;
}

// Called with tableLock held.
bool AddChunk() noexcept
{
    if (slotCount == chunkCount * slotsInChunk)
    {
        return false;
    }
    Slot* const chunk = new (std::nothrow) Slot[slotsInChunk];
    if (chunk == nullptr)
    {
        return false;
    }
    for (std::size_t i = slotsInChunk; i-- > 0;)
    {
        chunk[i].index = static_cast<std::uint32_t>(slotCount + i);
        chunk[i].nextFree = std::exchange(freeSlots, chunk + i);
    }
    chunks[slotCount / slotsInChunk].store(chunk, std::memory_order_release);
    slotCount += slotsInChunk;
    return true;
}

Slot* TakeFreeSlot() noexcept
{
    const std::lock_guard guard(tableLock);
    if (freeSlots == nullptr && !AddChunk())
    {
        return nullptr;
    }
    return std::exchange(freeSlots, freeSlots->nextFree);
}

void Recycle(Slot& slot) noexcept
{
    std::exchange(slot.object, nullptr)->Release();
    const std::lock_guard guard(tableLock);
    slot.nextFree = std::exchange(freeSlots, &slot);
}

} // namespace

HANDLE HandleTable::Insert(const Ref<Object>& object) noexcept
{
    PrepareForFork();
    if (!IsValid())
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    Slot* const slot = TakeFreeSlot();
    if (slot == nullptr)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    object->Retain();
    slot->object = object.Get();
    // 0 marks a slot that was never used, so that no handle is null.
    std::uint32_t generation = Generation(slot->word.load(std::memory_order_relaxed)) + 1;
    generation += generation == 0 ? 1 : 0;
    slot->word.store((std::uint64_t{generation} << generationShift) | openBit, std::memory_order_release);
    return MakeHandle(*slot, generation);
}

Slot* HandleTable::Pin(HANDLE handle) noexcept
{
    std::uint32_t generation = 0;
    Slot* const slot = Locate(handle, generation);
    if (slot != nullptr && IsValid())
    {
        std::uint64_t word = slot->word.load(std::memory_order_relaxed);
        while (Generation(word) == generation && (word & openBit) != 0)
        {
            if (slot->word.compare_exchange_weak(word, word + onePin, std::memory_order_acquire))
            {
                return slot;
            }
        }
    }
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

void HandleTable::Unpin(Slot& slot) noexcept
{
    const std::uint64_t word = slot.word.fetch_sub(onePin, std::memory_order_acq_rel) - onePin;
    if (!HasPins(word) && (word & openBit) == 0)
    {
        Recycle(slot);
    }
}

Object& HandleTable::Target(const Slot& slot) noexcept
{
    return *slot.object;
}

BOOL HandleTable::Close(HANDLE handle) noexcept
{
    Slot* const slot = Pin(handle);
    if (slot == nullptr)
    {
        return FALSE;
    }
    if ((slot->word.fetch_and(~openBit, std::memory_order_acq_rel) & openBit) == 0)
    {
        Unpin(*slot); // another thread closed it in the meantime
        return Fail(ERROR_INVALID_HANDLE);
    }
    slot->object->HandleClosed();
    Unpin(*slot);
    return TRUE;
}

void HandleTable::Invalidate() noexcept
{
    invalid.store(true, std::memory_order_relaxed);
}

} // namespace Quoll::Platform

extern "C"
{

    BOOL CloseHandle(HANDLE handle) noexcept
    {
        return Quoll::Platform::HandleTable::Close(handle);
    }

} // extern "C"
