// The tree of blocks that a version resource is: each has a key, a value, and blocks within.
#pragma once

#include "Quoll/WideString.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Quoll::Platform
{

/// A value in a tree. It lies within the tree's bytes.
struct VersionValue
{
    std::size_t offset;   ///< from the beginning of the tree
    std::uint32_t length; ///< in units for text, in bytes for any other; 0 for a block without a value
};

/// The number of bytes at the beginning of the bytes that are a tree; 0 if it is none.
std::size_t VersionTreeSize(std::span<const std::byte> bytes) noexcept;

/// The value at the path: keys in any case with backslashes between them; without a key, the root's.
std::optional<VersionValue> FindVersionValue(std::span<const std::byte> tree, WStringView path) noexcept;

} // namespace Quoll::Platform
