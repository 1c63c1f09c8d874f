#include "Quoll/Errors.h"
#include "Quoll/WideString.h"

#include "core/ConversionFailure.h"

#include "support/ForcedFailure.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;
using namespace Quoll::Tests;

namespace
{

constexpr DWORD k_unknownCode = 99999;

// Every system has one for this code; the words differ.
std::string SystemText(DWORD code)
{
    return Win32Exception("", code).what();
}

std::string ConversionText(std::string_view source)
{
    try
    {
        ConversionFailure::Throw("MultiByteToWideChar error", source, Encoding::Utf8, Encoding::Utf16);
    }
    catch (const ConversionException& error)
    {
        return error.what();
    }
}

TEST(Win32ExceptionTest, ContextAndSystemText)
{
    const std::string text = SystemText(ERROR_ACCESS_DENIED);
    EXPECT_TRUE(text.ends_with("\r\n")) << text;
    EXPECT_GT(text.size(), 4u);
    EXPECT_FALSE(text.starts_with(":"));
    EXPECT_EQ(Win32Exception("failed", ERROR_ACCESS_DENIED).what(), "failed: " + text);
    EXPECT_STREQ(Win32Exception(std::string("cut\0off", 7), k_unknownCode).what(),
                 "cut: unknown error. Error Code: 99999");
}

TEST(Win32ExceptionTest, UnknownCodesShowTheirNumber)
{
    EXPECT_STREQ(Win32Exception("failed", k_unknownCode).what(), "failed: unknown error. Error Code: 99999");
    EXPECT_STREQ(Win32Exception("", k_unknownCode).what(), "unknown error");
    EXPECT_STREQ(Win32Exception("x", 0xFFFFFFF0).what(), "x: unknown error. Error Code: 4294967280");

    const ForcedFailure failure(ForcedCall::WideCharToMultiByte, ERROR_GEN_FAILURE, {.later = true});
    EXPECT_STREQ(Win32Exception("failed", 5).what(), "failed: unknown error. Error Code: 5");
}

TEST(Win32ExceptionTest, TakesTheLastError)
{
    const std::string context(1000, 'c');
    SetLastError(ERROR_PIPE_BUSY);
    const Win32Exception error(context);
    EXPECT_EQ(error.GetErrorCode(), DWORD{ERROR_PIPE_BUSY});
    EXPECT_EQ(error.code().value(), 231);
    EXPECT_STREQ(error.code().category().name(), "win32");
    EXPECT_EQ(error.code().message(), SystemText(ERROR_PIPE_BUSY));
}

TEST(Win32ExceptionTest, CopiesAndMovesKeepCodeAndText)
{
    Win32Exception error("failed", k_unknownCode);
    const std::string text = error.what();
    Win32Exception copy(error);
    Win32Exception assigned("other", 5);
    assigned = copy;
    Win32Exception moved(std::move(copy));
    for (const Win32Exception* each : {&error, &assigned, &moved})
    {
        EXPECT_EQ(each->what(), text);
        EXPECT_EQ(each->GetErrorCode(), k_unknownCode);
    }
}

TEST(Win32ExceptionTest, Win32FromHResult)
{
    const struct
    {
        std::uint32_t result;
        std::uint32_t code;
    } rows[] = {{0, 0}, {0x80070000, 0}, {0x80070005, 1627}, {0xFFFFFFFF, 1627}, {1, 1627}, {0xFFFF0000, 0}};
    for (const auto& row : rows)
    {
        EXPECT_EQ(Win32Exception::Win32FromHRESULT(static_cast<std::int32_t>(row.result)), row.code) << row.result;
    }
}

TEST(HResultExceptionTest, AlwaysEightDigits)
{
    const HResultException denied("context", static_cast<std::int32_t>(0x80070005));
    EXPECT_STREQ(denied.what(), "context. Error Code: 0x80070005");
    EXPECT_EQ(denied.GetErrorCode(), static_cast<std::int32_t>(0x80070005));
    EXPECT_STREQ(HResultException("", 10).what(), ". Error Code: 0x0000000A");
}

TEST(FileSystemExceptionTest, TextPathsAndBlanks)
{
    const FileSystemException one("open", "C:\\a"_w, k_unknownCode);
    EXPECT_EQ(one.GetErrorMessage(), "open: unknown error C:\\a "_w);
    EXPECT_STREQ(one.what(), "open: unknown error C:\\a ");
    EXPECT_EQ(one.code().value(), static_cast<int>(k_unknownCode));

    SetLastError(k_unknownCode);
    const FileSystemException two("", "a"_w, "b"_w);
    EXPECT_STREQ(two.what(), "unknown error a b");
    EXPECT_EQ(two.path1(), "a");
    EXPECT_EQ(two.path2(), "b");

    SetLastError(k_unknownCode);
    EXPECT_STREQ(FileSystemException("none", WString()).what(), "none: unknown error  ");
    EXPECT_EQ(FileSystemException("x", "a"_w, "b"_w, ERROR_FILE_NOT_FOUND).what(),
              "x: " + SystemText(ERROR_FILE_NOT_FOUND) + " a b");
}

TEST(FileSystemExceptionTest, AnyPathIsCarried)
{
    const WString paths[] = {"C:\\\xC3\xA4\xF0\x9F\x98\x80"_w,
                             WString(1, static_cast<WChar>(0xD800)),
                             WString(1, static_cast<WChar>(0xDCFF)),
                             {static_cast<WChar>(0xDCC3), static_cast<WChar>(0xDCA4)},
                             "\\\\server\\share"_w,
                             "nul \0 inside"_w};
    for (const WString& path : paths)
    {
        const FileSystemException error("x", path, k_unknownCode);
        EXPECT_EQ(error.GetErrorMessage(), WString("x: unknown error "_w) + path + " "_w);
        FileSystemException copy("y", "z"_w, ERROR_FILE_NOT_FOUND);
        copy = error;
        EXPECT_EQ(copy.GetErrorMessage(), error.GetErrorMessage());
        EXPECT_STREQ(copy.what(), error.what());
    }
    EXPECT_STREQ(FileSystemException("x", "\xC3\xA4\xF0\x9F\x98\x80"_w, k_unknownCode).what(), "x: unknown error ??? ");
}

TEST(FileSystemExceptionTest, TextThatIsNoUtf8IsAConversionException)
{
    EXPECT_THROW(throw FileSystemException("\xE4", "a"_w, 5), ConversionException);
}

TEST(ConversionExceptionTest, ShowsEveryByteAsASignedNumber)
{
    EXPECT_EQ(ConversionText("a\xFF"), "MultiByteToWideChar error. Can't convert bytes: 97-1. from UTF-8 to UTF-16");
    EXPECT_EQ(ConversionText("\xE4"), "MultiByteToWideChar error. Can't convert bytes: -28. from UTF-8 to UTF-16");
    try
    {
        ConversionFailure::Throw("bad conversion", WStringView("A"_w), Encoding::Utf16, static_cast<Encoding>(2));
    }
    catch (const ConversionException& error)
    {
        EXPECT_STREQ(error.what(), "bad conversion. Can't convert bytes: 650. from UTF-16 to UNKNOWN");
    }
}

TEST(SmallExceptionsTest, TextsAndBases)
{
    EXPECT_STREQ(DataFilterException("filter").what(), "filter");
    EXPECT_STREQ(DataPaginationException("page").what(), "page");
    EXPECT_STREQ(MathError("division by zero").what(), "division by zero");
    EXPECT_STREQ(MathError(nullptr).what(), "Unknown exception");
    EXPECT_STREQ(Communication::ClosedConnectionException("id 5").what(), "Client connection is already closed: id 5");
    const auto derives = []<typename Base>(const Base&) {
        return true;
    };
    EXPECT_TRUE(derives.operator()<std::runtime_error>(DataFilterException("")));
    EXPECT_TRUE(derives.operator()<std::runtime_error>(Communication::ClosedConnectionException("")));
}

TEST(SmallExceptionsTest, RsaErrorTellsItsTextOnlyItself)
{
    RsaError error("no key");
    const RsaError moved(std::move(error));
    EXPECT_EQ(moved.what(), "no key");
    const std::exception& base = moved;
    EXPECT_STREQ(base.what(), std::exception().what());
}

} // namespace

} // namespace Quoll::Utilities
