#include "platform/linux/ErrnoTable.h"
#include "platform/linux/ErrorTexts.h"

#include <gtest/gtest.h>

#include <string_view>

namespace Quoll::Platform
{

namespace
{

TEST(ErrorTableTest, EveryErrnoGivesAFailureThatHasAText)
{
    EXPECT_EQ(FromErrno(-1), ERROR_GEN_FAILURE);
    for (int value = 0; value < 256; ++value)
    {
        const DWORD code = FromErrno(value);
        EXPECT_NE(code, ERROR_SUCCESS) << value;
        EXPECT_NE(SystemMessage(code), nullptr) << value << " gives " << code;
    }
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
