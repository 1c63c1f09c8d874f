// Names of new files.
#include "Quoll/File.h"
#include "Quoll/Path.h"

#include <platform/random.h>

#include <windows.h>

#include <stdexcept>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

WString MakeDigits(std::uint32_t length, std::uint64_t seed)
{
    Platform::SeedRandom(static_cast<std::uint32_t>(seed));
    WString digits(length, WChar());
    for (WChar& digit : digits)
    {
        digit = "0123456789abcdef"_w[static_cast<std::size_t>(Platform::NextRandom() / 32767.0 * 15.0)];
    }
    return digits;
}

// The first name of which nothing can be told.
template<class MakeName>
WString FindNewName(std::uint32_t length, std::uint64_t seed, const MakeName& makeName)
{
    WString name = makeName(MakeDigits(length, seed));
    while (::GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES)
    {
        name = makeName(MakeDigits(length, ++seed));
    }
    return name;
}

void Require(const WString& text, const char* message)
{
    if (text.empty())
    {
        throw std::runtime_error(message);
    }
}

} // namespace

WString File::GenerateNewFileName(const WString& folder, const WString& extension, std::uint32_t length,
                                  std::uint64_t seed)
{
    Require(folder, "The provided path is empty");
    Require(extension, "The provided extension is empty");
    WString begin = folder;
    Path::AddBackslash(begin);
    return FindNewName(length, seed, [&](const WString& digits) { return (begin + digits).append(extension); });
}

WString File::GenerateNewFileNameFromExisting(const WString& path, std::uint32_t length, std::uint64_t seed)
{
    Require(path, "The provided path is empty");
    return FindNewName(length, seed,
                       [&](const WString& digits) { return Path::InsertBeforeExtension(path, '_', digits); });
}

} // namespace Quoll::Utilities
