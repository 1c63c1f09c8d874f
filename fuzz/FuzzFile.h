// One file that every input of a fuzz target is written to.
#pragma once

#include "Quoll/NativePath.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace Quoll::Fuzz
{

inline void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

class FuzzFile
{
public:
    FuzzFile()
        : m_native(std::filesystem::temp_directory_path() / ("quoll-fuzz-" + std::to_string(std::random_device()())))
    {
    }
    ~FuzzFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_native, ignored);
    }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;

    WString Path() const
    {
        return Utilities::NativePath::FromNative(m_native);
    }
    void Put(std::string_view bytes) const
    {
        std::ofstream(m_native, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    std::string Take() const
    {
        std::ifstream file(m_native, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_native;
};

} // namespace Quoll::Fuzz
