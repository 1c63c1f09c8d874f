// Erasing what is secret.
#pragma once

#include <cstddef>
#include <cstring>

namespace Quoll
{

/// Fills the memory with zeros, also where the compiler sees that nobody reads them.
inline void Wipe(void* memory, std::size_t size) noexcept
{
    std::memset(memory, 0, size);
    asm volatile("" : : "r"(memory) : "memory");
}

} // namespace Quoll
