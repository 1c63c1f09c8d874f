// What callers rely on in the platform's text calls.
#include "support/Wine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <string_view>

namespace
{

using Wide = std::basic_string<WCHAR>;

Wide FromAscii(std::string_view text)
{
    return {text.begin(), text.end()};
}

struct Message
{
    DWORD length = 0;
    DWORD error = 0;
    Wide text;
};

Message Formatted(DWORD flags, const char* format, ...)
{
    const Wide source = FromAscii(format);
    WCHAR* text = nullptr;
    va_list arguments;
    va_start(arguments, format);
    SetLastError(0);
    Message message;
    message.length = FormatMessageW(flags | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING, source.c_str(),
                                    0, 1024, reinterpret_cast<LPWSTR>(&text), 256, &arguments);
    message.error = message.length == 0 ? GetLastError() : 0;
    va_end(arguments);
    message.text = text ? Wide(text, message.length) : Wide();
    LocalFree(text);
    return message;
}

} // namespace

TEST(TextConversion, CountsWithoutABufferAndTakesTheNulOnlyWithoutALength)
{
    WCHAR wide[8] = {};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "h\xC3\xA4", -1, nullptr, 0), 3);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "h\xC3\xA4", 3, wide, 8), 2);
    EXPECT_EQ(wide[1], 0xE4);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 8, "a\0b", 3, wide, 8), 3);
    char text[8] = {};
    const WCHAR pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, pair, -1, nullptr, 0, nullptr, nullptr), 5);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, pair, 2, text, 8, nullptr, nullptr), 4);
    EXPECT_EQ(std::string(text), "\xF0\x9F\x98\x80");
}

TEST(TextConversion, ReplacesWhatIsIllFormedUnlessToldToRefuseIt)
{
    WCHAR wide[8] = {};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a\xFF\xE2\x82", 4, wide, 8), 3);
    EXPECT_EQ(Wide(wide), (Wide{'a', 0xFFFD, 0xFFFD}));
    const WCHAR lone[] = {0xDC00, 'b'};
    char text[8] = {};
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, lone, 2, text, 8, nullptr, nullptr), 4);
    EXPECT_EQ(std::string_view(text), "\xEF\xBF\xBD"
                                      "b");
}

TEST(TextConversion, ReportsWhatItRefuses)
{
    struct Case
    {
        UINT codePage;
        DWORD flags;
        const char* text;
        int length;
        int capacity;
        DWORD error;
    };
    const Case cases[] = {
        {CP_UTF8, 0, "a", 0, 8, ERROR_INVALID_PARAMETER},
        {CP_UTF8, 0, nullptr, 1, 8, ERROR_INVALID_PARAMETER},
        {CP_UTF8, 0, "a", 1, -1, ERROR_INVALID_PARAMETER},
        {99, 0, "a", 1, 8, ERROR_INVALID_PARAMETER},
        {CP_UTF8, 0x10, "a", 1, 8, ERROR_INVALID_FLAGS},
        {CP_UTF8, 0, "abc", 3, 2, ERROR_INSUFFICIENT_BUFFER},
        {CP_UTF8, 0, "abc", -1, 3, ERROR_INSUFFICIENT_BUFFER},
        {CP_UTF8, 8, "a\xFF", 2, 8, ERROR_NO_UNICODE_TRANSLATION},
        {CP_UTF8, 8, "a\xFF", 2, 0, ERROR_NO_UNICODE_TRANSLATION},
    };
    for (const Case& test : cases)
    {
        WCHAR wide[8];
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(test.codePage, test.flags, test.text, test.length,
                                      test.capacity == 0 ? nullptr : wide, test.capacity),
                  0);
        EXPECT_EQ(GetLastError(), test.error) << (test.text ? test.text : "null");
    }
    const WCHAR lone[] = {'a', 0xD800, 0};
    char text[8];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, lone, 2, text, 8, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, lone, 2, text, 3, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

TEST(FormatMessage, InsertsArgumentsByNumberAndDirective)
{
    const Wide one = FromAscii("one");
    const Wide two = FromAscii("two");
    EXPECT_EQ(Formatted(0, "%2 %1 %1", one.c_str(), two.c_str()).text, FromAscii("two one one"));
    EXPECT_EQ(Formatted(0, "%1!05d!|%2!-5d!|%3!X!", 5, 6, 255).text, FromAscii("00005|6    |FF"));
    EXPECT_EQ(Formatted(0, "%1!S!|%2!hs!|%3!ls!|%4!c!", "a", "b", two.c_str(), 'd').text, FromAscii("a|b|two|d"));
    EXPECT_EQ(Formatted(0, "%1!I64d!|%2!u!|%3", 1LL << 40, ~0u, two.c_str()).text,
              FromAscii("1099511627776|4294967295|two"));
    EXPECT_EQ(Formatted(0, "%1!*.*s!|", 5, 2, two.c_str()).text, FromAscii("   tw|"));
    EXPECT_EQ(Formatted(0, "%3%2", 1, two.c_str(), one.c_str()).text, FromAscii("onetwo"));
    EXPECT_EQ(Formatted(0, "%1", static_cast<const WCHAR*>(nullptr)).text, FromAscii("(null)"));
    const WCHAR* const n = one.c_str();
    EXPECT_EQ(Formatted(0, "%10%1", two.c_str(), n, n, n, n, n, n, n, n, two.c_str()).text, FromAscii("twotwo"));
}

TEST(FormatMessage, UnderstandsEscapesAndLineEnds)
{
    EXPECT_EQ(Formatted(0, "%%|%n|%r|%t|%.|%!|%b|% |").text, FromAscii("%|\r\n|\r|\t|.|!|b| |"));
    EXPECT_EQ(Formatted(0, "a\nb\rc\r\nd%0e").text, FromAscii("a\r\nb\r\nc\r\nd"));
    EXPECT_EQ(Formatted(FORMAT_MESSAGE_IGNORE_INSERTS, "%1!d!b%%c%nd%0e").text, FromAscii("%1!d!b%%c\r\nd"));
}

TEST(FormatMessage, RefusesBrokenMessages)
{
    for (const char* format : {"abc%", "%1!d", "%"})
    {
        EXPECT_EQ(Formatted(0, format, 1).error, static_cast<DWORD>(ERROR_INVALID_PARAMETER)) << format;
    }
    EXPECT_EQ(Formatted(0, "").length, 0u);
}

TEST(FormatMessage, FailsWhenTheBufferIsTooSmall)
{
    const Wide source = FromAscii("abc");
    WCHAR buffer[4];
    SetLastError(0);
    EXPECT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_STRING, source.c_str(), 0, 0, buffer, 3, nullptr), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_STRING, source.c_str(), 0, 0, buffer, 4, nullptr), 3u);
    EXPECT_EQ(Wide(buffer), source);
}

TEST(FormatMessage, BoundsWhatItAllocates)
{
    if (Quoll::Tests::IsWine())
    {
        GTEST_SKIP() << "Wine allocates texts of any length";
    }
    EXPECT_EQ(Formatted(0, "%1!2000000000d!", 1).error, static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(Formatted(0, "%1!65535d!", 1).length, 65535u);
    EXPECT_EQ(Formatted(0, "%1!65535d! ", 1).error, static_cast<DWORD>(ERROR_MORE_DATA));
}

TEST(FormatMessage, GivesTheSystemsTexts)
{
    WCHAR buffer[512];
    const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD length = FormatMessageW(flags, nullptr, ERROR_ACCESS_DENIED, 0, buffer, 512, nullptr);
    ASSERT_GT(length, 2u);
    EXPECT_EQ(Wide(buffer, length).substr(length - 2), FromAscii("\r\n"));
    WCHAR again[512];
    EXPECT_EQ(FormatMessageW(flags, nullptr, 0x80070005, 0, again, 512, nullptr), length);
    EXPECT_EQ(Wide(again), Wide(buffer));
    EXPECT_EQ(FormatMessageW(flags, nullptr, 99999, 0, buffer, 512, nullptr), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND));
}
