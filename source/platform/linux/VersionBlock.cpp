#include "platform/linux/VersionBlock.h"

#include <platform/case_folding.h>

#include <algorithm>
#include <cstring>

namespace Quoll::Platform
{

namespace
{

using Bytes = std::span<const std::byte>;

constexpr std::size_t headerSize = 6; // three words: the whole length, the value's, and whether that is text

struct Block
{
    std::size_t key;
    std::size_t keyLength; // in units
    VersionValue value;
    std::size_t children;
    std::size_t end;
};

std::uint16_t WordAt(Bytes bytes, std::size_t offset) noexcept
{
    std::uint16_t word = 0;
    std::memcpy(&word, bytes.data() + offset, sizeof(word));
    return word;
}

// All parts of a tree begin at multiples of four bytes.
std::size_t Aligned(std::size_t offset, std::size_t end) noexcept
{
    return std::min((offset + 3) & ~std::size_t{3}, end);
}

// A block says its own size; what goes beyond that of the one around it is cut off.
std::optional<Block> ReadBlock(Bytes tree, std::size_t offset, std::size_t limit) noexcept
{
    if (limit < headerSize || offset > limit - headerSize || WordAt(tree, offset) < headerSize)
    {
        return std::nullopt;
    }
    Block block{};
    block.end = std::min(limit, offset + WordAt(tree, offset));
    block.key = offset + headerSize;
    std::size_t at = block.key;
    while (at + 2 <= block.end && WordAt(tree, at) != 0)
    {
        at += 2;
    }
    if (at + 2 > block.end)
    {
        return std::nullopt; // a key without an end
    }
    block.keyLength = (at - block.key) / 2;
    const std::size_t unit = WordAt(tree, offset + 4) == 1 ? 2 : 1;
    block.value.offset = Aligned(at + 2, block.end);
    const std::size_t room = (block.end - block.value.offset) / unit;
    block.value.length = static_cast<std::uint32_t>(std::min<std::size_t>(WordAt(tree, offset + 2), room));
    block.children = Aligned(block.value.offset + block.value.length * unit, block.end);
    return block;
}

bool HasKey(Bytes tree, const Block& block, WStringView key) noexcept
{
    if (block.keyLength != key.size())
    {
        return false;
    }
    for (std::size_t i = 0; i < key.size(); ++i)
    {
        if (ToLowerUnit(static_cast<WChar>(WordAt(tree, block.key + 2 * i))) != ToLowerUnit(key[i]))
        {
            return false;
        }
    }
    return true;
}

std::optional<Block> FindChild(Bytes tree, const Block& parent, WStringView key) noexcept
{
    std::size_t offset = parent.children;
    while (const auto child = ReadBlock(tree, offset, parent.end))
    {
        if (HasKey(tree, *child, key))
        {
            return child;
        }
        offset = Aligned(child->end, parent.end);
    }
    return std::nullopt;
}

} // namespace

std::size_t VersionTreeSize(Bytes bytes) noexcept
{
    const auto root = ReadBlock(bytes, 0, bytes.size());
    return root ? root->end : 0;
}

std::optional<VersionValue> FindVersionValue(Bytes tree, WStringView path) noexcept
{
    auto block = ReadBlock(tree, 0, tree.size());
    while (block && !path.empty())
    {
        const WStringView key = path.substr(0, path.find('\\'));
        block = key.empty() ? block : FindChild(tree, *block, key);
        path.remove_prefix(std::min(path.size(), key.size() + 1));
    }
    return block ? std::optional(block->value) : std::nullopt;
}

} // namespace Quoll::Platform
