// Files for tests, written and read past the library.
#pragma once

#include "Quoll/Errors.h"
#include "Quoll/NativePath.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>

namespace Quoll::Tests
{

/// A folder of its own, whose names are the library's.
class TestFolder
{
public:
    WString operator/(const std::string& name) const
    {
        return Utilities::NativePath::FromNative(m_directory.Path() / name);
    }
    WString Path() const
    {
        return Utilities::NativePath::FromNative(m_directory.Path());
    }

private:
    TemporaryDirectory m_directory;
};

inline void PutBytes(const WString& path, std::string_view bytes)
{
    std::ofstream file(Utilities::NativePath::ToNative(path), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
    {
        throw std::runtime_error("a test can't write its file");
    }
}

inline std::string TakeBytes(const WString& path)
{
    std::ifstream file(Utilities::NativePath::ToNative(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The code of the exception, whose text begins with the message.
template<class Exception>
std::uint32_t CodeOf(const std::string& message, const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const Exception& exception)
    {
        EXPECT_TRUE(std::string_view(exception.what()).starts_with(message)) << exception.what();
        return static_cast<std::uint32_t>(exception.code().value());
    }
    ADD_FAILURE() << "nothing is thrown: " << message;
    return 0;
}

inline std::uint32_t FileCode(const std::string& message, const std::function<void()>& action)
{
    return CodeOf<Utilities::FileSystemException>(message, action);
}

inline std::uint32_t PlatformCode(const std::string& message, const std::function<void()>& action)
{
    return CodeOf<Utilities::Win32Exception>(message, action);
}

} // namespace Quoll::Tests
