// Files that lie about their version resource.
#include "platform/linux/PortableExecutable.h"
#include "platform/linux/VersionBlock.h"
#include "support/VersionedImage.h"

#include <gtest/gtest.h>

#include <cstring>

namespace Quoll::Platform
{

namespace
{

class Bytes final : public FileBytes
{
public:
    explicit Bytes(std::string bytes)
        : m_bytes(std::move(bytes))
    {
    }

    bool Read(std::uint64_t offset, void* buffer, std::size_t size) const noexcept override
    {
        if (offset > m_bytes.size() || size > m_bytes.size() - offset)
        {
            return false;
        }
        std::memcpy(buffer, m_bytes.data() + offset, size);
        return true;
    }

private:
    std::string m_bytes;
};

constexpr std::uint32_t k_tree = 0x200 + 88; // in the image that MakeImage makes

TEST(VersionResource, IsFoundUntilTheFileLosesItsDescription)
{
    const std::string image = Tests::MakeImage(Tests::MakeVersionTree());
    for (std::size_t size = 0; size <= image.size(); ++size)
    {
        ResourcePlace place{};
        EXPECT_EQ(FindVersionResource(Bytes(image.substr(0, size)), place), size >= k_tree) << size;
    }
}

TEST(VersionResource, NeutralComesBeforeEnglishAndEnglishBeforeOthers)
{
    const std::string image = Tests::MakeImage(Tests::MakeVersionTree());
    constexpr std::size_t folder = 0x200 + 48;
    for (const auto& [languages, expected] :
         {std::pair(std::string("\x07\x04\x09\x04"), 1u), // German first
          std::pair(std::string("\x00\x00\x09\x04", 4), 0u), std::pair(std::string("\x07\x04\x0A\x04"), 0u)})
    {
        // Each language is an entry of its own, and its data entry tells which one it is by the size.
        std::string changed = image;
        std::string entries = changed.substr(folder, 14) + std::string("\x02\0", 2);
        for (std::uint32_t i = 0; i < 2; ++i)
        {
            entries += languages.substr(2 * i, 2) + std::string(2, '\0');
            const std::uint32_t offset = 0x100 + 16 * i;
            entries.append(reinterpret_cast<const char*>(&offset), 4);
            const std::uint32_t data[] = {0x1000, i, 0, 0};
            std::memcpy(changed.data() + 0x200 + offset, data, sizeof(data));
        }
        changed.replace(folder, entries.size(), entries);
        ResourcePlace place{};
        ASSERT_TRUE(FindVersionResource(Bytes(changed), place));
        EXPECT_EQ(place.size, expected);
    }
}

TEST(VersionResource, TreesStayWithinTheirBytes)
{
    const std::string tree = Tests::MakeVersionTree();
    for (std::size_t at = 0; at < tree.size(); ++at)
    {
        for (const char lie : {'\0', '\x01', '\x7F', '\xFF'})
        {
            std::string changed = tree.substr(0, tree.size() - at % 5);
            changed[std::min(at, changed.size() - 1)] = lie;
            const auto bytes = std::as_bytes(std::span(changed));
            for (const WStringView path : {u"", u"\\StringFileInfo\\040904B0\\Empty", u"\\VarFileInfo\\Translation"})
            {
                if (const auto value = FindVersionValue(bytes, path))
                {
                    EXPECT_LE(value->offset, changed.size());
                    EXPECT_LE(value->length, changed.size() - value->offset);
                }
            }
        }
    }
}

} // namespace

} // namespace Quoll::Platform
