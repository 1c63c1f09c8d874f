#include "platform/linux/ErrnoTable.h"
#include "platform/linux/ErrorTexts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string_view>

namespace Quoll::Platform
{

namespace
{

TEST(ErrorTableTest, FailuresThatCallersTellApart)
{
    const struct
    {
        int value;
        DWORD code;
    } rows[] = {
        {ENOENT, ERROR_FILE_NOT_FOUND},
        {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
        {EACCES, ERROR_ACCESS_DENIED},
        {EPERM, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED},
        {EBADF, ERROR_INVALID_HANDLE},
        {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
        {EINVAL, ERROR_INVALID_PARAMETER},
        {ENOSPC, ERROR_DISK_FULL},
        {EEXIST, ERROR_ALREADY_EXISTS},
        {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
        {ECONNRESET, ERROR_BROKEN_PIPE},
        {EPIPE, ERROR_NO_DATA},
        {EAGAIN, ERROR_NO_SYSTEM_RESOURCES},
        {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
        {12345, ERROR_GEN_FAILURE},
        {0, ERROR_GEN_FAILURE},
        {-1, ERROR_GEN_FAILURE},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(FromErrno(row.value), row.code) << row.value;
    }
}

TEST(ErrorTableTest, EveryErrnoGivesAFailureThatHasAText)
{
    for (int value = 0; value < 256; ++value)
    {
        const DWORD code = FromErrno(value);
        EXPECT_NE(code, ERROR_SUCCESS) << value;
        EXPECT_NE(SystemMessage(code), nullptr) << value << " gives " << code;
    }
}

TEST(ErrorTableTest, TheLastErrorBelongsToTheFailingCall)
{
    errno = ENOENT;
    EXPECT_FALSE(FailWithErrno());
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(Fail(ERROR_PIPE_BUSY));
    EXPECT_EQ(GetLastError(), ERROR_PIPE_BUSY);
}

TEST(ErrorTextsTest, EndInCarriageReturnAndLineFeed)
{
    int count = 0;
    for (DWORD code = 0; code < 20000; ++code)
    {
        if (const WCHAR* text = SystemMessage(code))
        {
            EXPECT_TRUE(std::u16string_view(text).ends_with(u".\r\n")) << code;
            ++count;
        }
    }
    EXPECT_GT(count, 100);
    EXPECT_EQ(SystemMessage(99999), nullptr);
    EXPECT_EQ(SystemMessage(0xFFFFFFFF), nullptr);
}

} // namespace

} // namespace Quoll::Platform
