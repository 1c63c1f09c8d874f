// Files that may be programs with a version resource: whatever they say, what is found lies within them.
#include "platform/linux/PortableExecutable.h"
#include "platform/linux/VersionBlock.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

class Bytes final : public Platform::FileBytes
{
public:
    Bytes(const std::uint8_t* data, std::size_t size)
        : m_data(data)
        , m_size(size)
    {
    }

    bool Read(std::uint64_t offset, void* buffer, std::size_t size) const noexcept override
    {
        if (offset > m_size || size > m_size - offset)
        {
            return false;
        }
        std::memcpy(buffer, m_data + offset, size);
        return true;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
};

// A copy, so that the sanitizer sees its end.
void CheckTree(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::uint8_t> tree(data, data + std::min<std::size_t>(size, 0xFFFF));
    tree.resize(Platform::VersionTreeSize(std::as_bytes(std::span(tree))));
    tree.shrink_to_fit();
    const auto bytes = std::as_bytes(std::span(tree));
    for (const WStringView path : {WStringView("\\"_w), WStringView("\\StringFileInfo\\040904B0\\FileVersion"_w),
                                   WStringView("\\VarFileInfo\\Translation"_w), WStringView("\\StringFileInfo\\a"_w)})
    {
        if (const auto value = Platform::FindVersionValue(bytes, path))
        {
            Check(value->offset <= tree.size() && value->length <= tree.size() - value->offset);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Platform::ResourcePlace place{};
    if (Platform::FindVersionResource(Bytes(data, size), place) && place.offset < size)
    {
        CheckTree(data + place.offset, std::min<std::size_t>(place.size, size - place.offset));
    }
    CheckTree(data, size);
    return 0;
}
