#include "support/VersionedImage.h"

#include <string_view>

namespace Quoll::Tests
{

namespace
{

constexpr std::uint32_t k_address = 0x1000; // of the resources
constexpr std::uint32_t k_offset = 0x200;   // in the file

// Appends numbers, the low byte first.
template<class Number>
void Put(std::string& bytes, std::initializer_list<Number> numbers)
{
    for (const Number number : numbers)
    {
        for (unsigned bit = 0; bit < 8 * sizeof(Number); bit += 8)
        {
            bytes.push_back(static_cast<char>((number >> bit) & 0xFF));
        }
    }
}

void Align(std::string& bytes, std::size_t unit)
{
    bytes.resize((bytes.size() + unit - 1) / unit * unit);
}

std::string Wide(std::string_view text)
{
    std::string bytes;
    for (const char unit : text)
    {
        Put<std::uint16_t>(bytes, {static_cast<std::uint16_t>(unit)});
    }
    Put<std::uint16_t>(bytes, {0});
    return bytes;
}

std::string Block(std::string_view key, const std::string& value, bool isText, const std::string& children)
{
    std::string body = Wide(key);
    body.insert(0, 6, '\0');
    Align(body, 4);
    body += value;
    Align(body, 4);
    body += children;
    std::string header;
    Put<std::uint16_t>(header, {static_cast<std::uint16_t>(body.size()),
                                static_cast<std::uint16_t>(value.size() / (isText ? 2 : 1)), isText});
    return body.replace(0, 6, header);
}

std::string Resources(const std::string& resource, std::uint32_t type)
{
    constexpr std::uint32_t isFolder = 0x80000000;
    std::string bytes;
    const auto put = [&](std::uint32_t name, std::uint32_t offset) {
        Put<std::uint32_t>(bytes, {0, 0, 0});
        Put<std::uint16_t>(bytes, {0, 1});
        Put<std::uint32_t>(bytes, {name, offset});
    };
    put(type, isFolder | 24);
    put(1, isFolder | 48);
    put(0x409, 72);
    Put<std::uint32_t>(bytes, {k_address + 88, static_cast<std::uint32_t>(resource.size()), 0, 0});
    return bytes + resource;
}

} // namespace

std::string MakeVersionTree(const VersionContent& content)
{
    std::string fixed;
    Put<std::uint32_t>(fixed, {0xFEEF04BD, 0x10000, content.fileVersionHigh, content.fileVersionLow, 0, 0, 0x3F, 0,
                               0x40004, 2, 0, 0, 0});
    std::string texts;
    for (const auto& [key, text] : content.texts)
    {
        Align(texts, 4);
        texts += Block(key, Wide(text), true, {});
    }
    std::string children = Block("StringFileInfo", {}, true, Block("040904B0", {}, true, texts));
    Align(children, 4);
    std::string translation;
    Put<std::uint16_t>(translation, {0x409, 0x4B0});
    children += Block("VarFileInfo", {}, true, Block("Translation", translation, false, {}));
    return Block("VS_VERSION_INFO", fixed, false, children);
}

std::string MakeImage(const std::string& resource, ImageKind kind, std::uint32_t type)
{
    const bool isWide = kind == ImageKind::Bits64;
    const std::string resources = Resources(resource, type);
    const auto size = static_cast<std::uint32_t>(resources.size());
    const std::uint32_t alignedSize = (size + 0x1FF) & ~0x1FFu;

    std::string image = "MZ";
    image.resize(0x3C);
    Put<std::uint32_t>(image, {0x40, 0x4550});
    Put<std::uint16_t>(image, {static_cast<std::uint16_t>(isWide ? 0x8664 : 0x14C), 1});
    Put<std::uint32_t>(image, {0, 0, 0});
    Put<std::uint16_t>(image, {static_cast<std::uint16_t>(isWide ? 240 : 224), 0x2002}); // a library
    Put<std::uint16_t>(image, {static_cast<std::uint16_t>(kind), 0});
    Put<std::uint32_t>(image, {0, alignedSize, 0, 0, 0});
    Put<std::uint32_t>(image,
                       {isWide ? 0x10000000u : 0u, isWide ? 0u : 0x10000000u}); // the address, differently placed
    Put<std::uint32_t>(image, {0x1000, 0x200, 6, 0, 6, 0, k_address + ((size + 0xFFF) & ~0xFFFu), k_offset, 0});
    Put<std::uint16_t>(image, {3, 0});
    for (int stackAndHeap = 0; stackAndHeap < (isWide ? 8 : 4); ++stackAndHeap)
    {
        Put<std::uint32_t>(image, {0});
    }
    Put<std::uint32_t>(image, {0, 16, 0, 0, 0, 0, k_address, size});
    image.resize(image.size() + 13 * 8);
    image += std::string(".rsrc\0\0", 8);
    Put<std::uint32_t>(image, {size, k_address, alignedSize, k_offset, 0, 0, 0, 0x40000040});
    image.resize(k_offset);
    image += resources;
    image.resize(k_offset + alignedSize);
    return image;
}

} // namespace Quoll::Tests
