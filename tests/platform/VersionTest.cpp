// Version resources of programs.
#include "Quoll/NativePath.h"
#include "Quoll/WideString.h"
#include "support/CodeOf.h"
#include "support/TemporaryDirectory.h"
#include "support/VersionedImage.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <vector>

namespace Quoll::Tests
{

using namespace Quoll::Literals;

namespace
{

constexpr DWORD k_someError = 77;

class VersionContract : public testing::Test
{
protected:
    WString Write(const std::string& name, const std::string& content) const
    {
        std::ofstream(m_folder.Path() / name, std::ios::binary) << content;
        return FileNamed(name);
    }

    WString FileNamed(const std::string& name) const
    {
        return Utilities::NativePath::FromNative(m_folder.Path() / name);
    }

    // Both calls fail with the code.
    static void ExpectError(const WString& file, DWORD code)
    {
        DWORD unused = 1;
        EXPECT_EQ(CodeOf(GetFileVersionInfoSizeW(file.c_str(), &unused) != 0u), code);
        EXPECT_EQ(unused, 0u);
        char buffer[1000];
        EXPECT_EQ(CodeOf(GetFileVersionInfoW(file.c_str(), 0, sizeof(buffer), buffer)), code);
    }

    static std::vector<char> ReadBlock(const WString& file)
    {
        std::vector<char> block(GetFileVersionInfoSizeW(file.c_str(), nullptr));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
        EXPECT_TRUE(GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
        return block;
    }

    // The value's bytes; the last error as text if there is none.
    static std::string Query(const std::vector<char>& block, const WChar* path, std::size_t unit)
    {
        void* value = nullptr;
        UINT length = 0;
        SetLastError(k_someError);
        if (!VerQueryValueW(block.data(), path, &value, &length))
        {
            return "error " + std::to_string(GetLastError());
        }
        EXPECT_EQ(GetLastError(), k_someError);
        return {static_cast<const char*>(value), length * unit};
    }

private:
    TemporaryDirectory m_folder;
};

TEST_F(VersionContract, TellsTheFixedPart)
{
    for (const ImageKind kind : {ImageKind::Bits32, ImageKind::Bits64})
    {
        const auto block = ReadBlock(Write("program", MakeImage(MakeVersionTree(), kind)));
        for (const WideLiteral path : {"\\"_w, ""_w})
        {
            void* value = nullptr;
            UINT length = 0;
            ASSERT_TRUE(VerQueryValueW(block.data(), path.data(), &value, &length));
            ASSERT_EQ(length, sizeof(VS_FIXEDFILEINFO));
            const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(value);
            EXPECT_EQ(fixed.dwSignature, 0xFEEF04BD);
            EXPECT_EQ(fixed.dwFileVersionMS, 0x00010002u);
            EXPECT_EQ(fixed.dwFileVersionLS, 0x00030004u);
        }
    }
}

TEST_F(VersionContract, TellsTextsByTheirPath)
{
    const auto block = ReadBlock(Write("program", MakeImage(MakeVersionTree())));
    const std::string version("1\0.\0002\0.\0003\0.\0004\0\0\0", 16);
    for (const WideLiteral path :
         {"\\StringFileInfo\\040904B0\\FileVersion"_w, "\\stringfileinfo\\040904b0\\fileversion"_w,
          "StringFileInfo\\040904B0\\FileVersion"_w, "\\StringFileInfo\\\\040904B0\\FileVersion\\"_w})
    {
        EXPECT_EQ(Query(block, path.data(), 2), version);
    }
    EXPECT_EQ(Query(block, "\\StringFileInfo\\040904B0\\Empty"_w, 2), std::string(2, '\0'));
    EXPECT_EQ(Query(block, "\\StringFileInfo\\040904B0"_w, 2), "");
    EXPECT_EQ(Query(block, "\\VarFileInfo\\Translation"_w, 1), "\x09\x04\xB0\x04");
    for (const WideLiteral path :
         {"\\StringFileInfo\\040904E4\\FileVersion"_w, "\\StringFileInfo\\040904B0\\FileVersio"_w, "\\FileVersion"_w,
          "/StringFileInfo"_w, "\\VarFileInfo\\Translation\\x"_w})
    {
        EXPECT_EQ(Query(block, path.data(), 1), "error 1813");
    }
}

TEST_F(VersionContract, FilesWithoutAVersion)
{
    ExpectError(Write("empty", ""), ERROR_RESOURCE_DATA_NOT_FOUND);
    ExpectError(Write("text", "MZ is how it begins"), ERROR_RESOURCE_DATA_NOT_FOUND);
    ExpectError(Write("other", MakeImage(MakeVersionTree(), ImageKind::Bits64, 17)), ERROR_RESOURCE_DATA_NOT_FOUND);
    ExpectError(FileNamed("missing"), ERROR_FILE_NOT_FOUND);
    ExpectError(FileNamed("missing/file"), ERROR_PATH_NOT_FOUND);
    ExpectError(FileNamed("."), ERROR_ACCESS_DENIED);
    EXPECT_EQ(CodeOf(GetFileVersionInfoSizeW(""_w, nullptr) != 0u), DWORD{ERROR_BAD_PATHNAME});
    EXPECT_EQ(CodeOf(GetFileVersionInfoSizeW(nullptr, nullptr) != 0u), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(VersionContract, ASmallBufferGetsWhatFits)
{
    const WString file = Write("program", MakeImage(MakeVersionTree()));
    std::vector<char> block(110, 'x'); // the root and its value, and a part of what follows
    ASSERT_TRUE(GetFileVersionInfoW(file.c_str(), 0, 100, block.data()));
    EXPECT_EQ(std::string(block.begin() + 100, block.end()), std::string(10, 'x'));
    EXPECT_EQ(Query(block, "\\"_w, 1).size(), sizeof(VS_FIXEDFILEINFO));
}

} // namespace

} // namespace Quoll::Tests
