// Windows programs with a version resource and nothing else.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Quoll::Tests
{

/// What the resource tells: the file's version in two halves, and texts of American English in Unicode.
struct VersionContent
{
    std::uint32_t fileVersionHigh = 0x00010002;
    std::uint32_t fileVersionLow = 0x00030004;
    std::vector<std::pair<std::string, std::string>> texts = {{"FileVersion", "1.2.3.4"}, {"Empty", ""}};
};

/// The bytes of a version resource.
std::string MakeVersionTree(const VersionContent& content = {});

enum class ImageKind
{
    Bits32 = 0x10B,
    Bits64 = 0x20B
};

/// The bytes of a program whose only resource is that one, of the type given.
std::string MakeImage(const std::string& resource, ImageKind kind = ImageKind::Bits64, std::uint32_t type = 16);

} // namespace Quoll::Tests
