#include "Quoll/MD5.h"

#include "filesystem/FileSupport.h"
#include "support/ForcedFailure.h"

#include <gtest/gtest.h>

namespace
{

using namespace Quoll::Literals;
using namespace Quoll::Tests;
using Quoll::WString;
using Quoll::Utilities::MD5;
using Quoll::Utilities::NativePath;

class MD5Test : public testing::Test
{
protected:
    WString HashOf(std::string_view bytes) const
    {
        PutBytes(m_path, bytes);
        return MD5::ComputeHash(m_path);
    }

    TestFolder m_folder;
    WString m_path = m_folder / "file.bin";
};

TEST_F(MD5Test, TheAnswersOfTheRfc)
{
    EXPECT_EQ(HashOf(""), "D41D8CD98F00B204E9800998ECF8427E"_w);
    EXPECT_EQ(HashOf("a"), "0CC175B9C0F1B6A831C399E269772661"_w);
    EXPECT_EQ(HashOf("abc"), "900150983CD24FB0D6963F7D28E17F72"_w);
    EXPECT_EQ(HashOf("message digest"), "F96B697D7CB7938D525A2F31AAF161D0"_w);
    EXPECT_EQ(HashOf("abcdefghijklmnopqrstuvwxyz"), "C3FCD3D76192E4007DFB496CCA67E13B"_w);
    EXPECT_EQ(HashOf("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "D174AB98D277D9F5A5611C2C9F419D9F"_w);
    EXPECT_EQ(HashOf("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57EDF4A22BE3C955AC49DA2E2107B67A"_w);
}

// At the borders of padding, blocks and steps of reading; the digests are those of another program.
TEST_F(MD5Test, SizesAtTheBorders)
{
    const struct
    {
        std::size_t size;
        Quoll::WStringView hash;
    } rows[] = {
        {0, "D41D8CD98F00B204E9800998ECF8427E"_w},    {1, "93B885ADFE0DA089CDF634904FD59F71"_w},
        {55, "6912EE65FFF2D9F9CE2508CDDF8BCDA0"_w},   {56, "51FDD1ACDA72405DFDFA03FCB85896D7"_w},
        {57, "5320EF4C17EF34A0CF2DB763338D25EB"_w},   {63, "48A6295221902E8E0938F773A7185E72"_w},
        {64, "B2D3F56BC197FD985D5965079B5E7148"_w},   {65, "8BD7053801C768420FAF816FADBA971C"_w},
        {119, "1C772251899A7FF007400B888D6B2042"_w},  {120, "B7BA1EFC6022E9ED272F00B8831E26E6"_w},
        {128, "37EFF01866BA3F538421B30B7CBEFCAC"_w},  {1023, "7437D7A881387DB7C41CF6930AB5E35D"_w},
        {1024, "9EE0A0E0C0BC0F1FF29D663D1FDF0743"_w}, {1025, "3F3789452B88CB32B8CBFBAFE715E29A"_w},
        {5000, "046B3239EAADE30920069F171518D956"_w},
    };
    for (const auto& row : rows)
    {
        std::string bytes;
        for (std::size_t i = 0; i < row.size; ++i)
        {
            bytes += static_cast<char>(i % 251);
        }
        EXPECT_EQ(HashOf(bytes), row.hash) << row.size;
    }
}

TEST_F(MD5Test, AnOldErrorMeansNothing)
{
    PutBytes(m_path, "abc");
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(MD5::ComputeHash(m_path), "900150983CD24FB0D6963F7D28E17F72"_w);
}

TEST_F(MD5Test, WhatCannotBeOpened)
{
    const auto codeOf = [](const WString& path) {
        return FileCode("CreateFile failed: ", [&] { MD5::ComputeHash(path); });
    };
    EXPECT_EQ(codeOf(m_path), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(codeOf(m_folder / "none/file"), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(codeOf(m_folder.Path()), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(codeOf({}), DWORD{ERROR_PATH_NOT_FOUND});
    PutBytes(m_path, "abc");
    const ForcedFailure failure(ForcedCall::CreateFileW, ERROR_SHARING_VIOLATION);
    EXPECT_EQ(codeOf(m_path), DWORD{ERROR_SHARING_VIOLATION});
}

// The third read of 3000 bytes fails, and the file is closed all the same: it can be removed on either target.
TEST_F(MD5Test, AReadThatFailsHalfWay)
{
    const std::string bytes(3000, 'x');
    const WString ofTwoReads = HashOf(bytes.substr(0, 2048));
    PutBytes(m_path, bytes);
    for (const DWORD code : {ERROR_SUCCESS, ERROR_HANDLE_EOF, ERROR_ACCESS_DENIED, ERROR_BROKEN_PIPE})
    {
        const ForcedFailure failure(ForcedCall::ReadFile, code, {.nth = 3});
        if (code == ERROR_SUCCESS || code == ERROR_HANDLE_EOF)
        {
            EXPECT_EQ(MD5::ComputeHash(m_path), ofTwoReads);
        }
        else
        {
            EXPECT_EQ(FileCode("ReadFile failed: ", [&] { MD5::ComputeHash(m_path); }), code);
        }
        EXPECT_EQ(failure.Failures(), 1u);
    }
    EXPECT_TRUE(std::filesystem::remove(NativePath::ToNative(m_path)));
}

} // namespace
