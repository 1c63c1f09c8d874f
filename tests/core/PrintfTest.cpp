#include "core/Printf.h"

#include "Quoll/InvalidParameter.h"
#include "core/SecurePrint.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

using namespace Quoll;
using namespace Quoll::Utilities;

namespace
{

template<class... Arguments>
WString Printed(const WChar* format, Arguments... arguments)
{
    WChar buffer[600];
    const int length = Print(buffer, std::size(buffer), format, arguments...);
    return length < 0 ? WString("<error>"_w) : WString(buffer, static_cast<std::size_t>(length));
}

std::string Ascii(const WString& text)
{
    std::string bytes;
    for (const WChar unit : text)
    {
        bytes.push_back(unit < 0x80 ? static_cast<char>(unit) : '?');
    }
    return bytes;
}

#define EXPECT_PRINT(expected, ...) EXPECT_EQ(Ascii(Printed(__VA_ARGS__)), expected)

} // namespace

TEST(Printf, PrintsIntegersWithFlagsWidthPrecisionAndSize)
{
    EXPECT_PRINT("|   42|42   |00042|  042|", "|%5d|%-5d|%05d|%5.3d|"_w, 42, 42, 42, 42);
    EXPECT_PRINT("+7  7 -7", "%+d % d %d"_w, 7, 7, -7);
    EXPECT_PRINT("  0x00ff 0XFF 0377 0", "%#8.4x %#X %#o %#x"_w, 255, 255, 255, 0);
    EXPECT_PRINT("  -5|-5   |", "%*d|%*d|"_w, 4, -5, -5, -5);
    EXPECT_PRINT("||0|", "|%.0d|%#.0o|"_w, 0, 0);
    EXPECT_PRINT("-1 255 -2 65534", "%hhd %hhu %hd %hu"_w, 0xFFF, 0xFFF, 0xFFFE, 0xFFFE);
    EXPECT_PRINT("18446744073709551615 -9223372036854775808", "%llu %I64d"_w, UINT64_MAX, INT64_MIN);
    EXPECT_PRINT("4294967295 -1 7 8 9 10", "%I32u %I32d %zu %Iu %jd %ld"_w, UINT_MAX, -1, std::size_t{7},
                 std::size_t{8}, std::intmax_t{9}, 10L);
    EXPECT_PRINT("000000000000BEEF", "%p"_w, reinterpret_cast<void*>(std::uintptr_t{0xBEEF}));
}

TEST(Printf, PrintsFloatingPointAsC)
{
    EXPECT_PRINT("3.141593 -0.5 1e+10 100000 1e-05", "%f %.1f %g %g %g"_w, 3.14159265, -0.5, 1e10, 1e5, 1e-5);
    EXPECT_PRINT("1.50e+00 1E-07 0X1.8P+0 0x1.0p+4", "%.2e %.0E %A %.1a"_w, 1.5, 1e-7, 1.5, 16.0);
    EXPECT_PRINT("1.00000 1. 1.e+00 |0001.5|1.5  |", "%#g %#.0f %#.0e |%06.1f|%-5.1f|"_w, 1.0, 1.0, 1.0, 1.5, 1.5);
    EXPECT_PRINT("1E+100 1.00000E+100 1.5E-07", "%G %#G %G"_w, 1e100, 1e100, 1.5e-7);
    EXPECT_PRINT("0.25", "%.2147483647g"_w, 0.25);
    EXPECT_PRINT("<error>", "%#.2147483647g"_w, 0.25);
    EXPECT_PRINT("inf -INF   nan 2 4", "%f %F %05f %.0f %.0f"_w, INFINITY, -INFINITY, NAN, 2.5, 3.5);
    EXPECT_PRINT("1.5 0.1000000000000000055511151231257827", "%Lg %.34f"_w, 1.5L, 0.1);
    EXPECT_EQ(Print(nullptr, 0, "%.400f"_w, 1.7976931348623157e308), 309 + 1 + 400);
}

// The C library is the oracle: both are required to round the exact value.
TEST(Printf, AgreesWithTheCLibraryOnManyNumbers)
{
    const char* formats[] = {"%.3e", "%.17g", "%12.4f", "%#.3g", "%+.0f", "%g"};
    for (const char* format : formats)
    {
        const WString wideFormat(format, format + std::string(format).size());
        for (double value = 1.2345678e-12; value < 1e15; value *= 3.7)
        {
            char expected[64];
            std::snprintf(expected, sizeof(expected), format, value);
            EXPECT_EQ(Ascii(Printed(wideFormat.c_str(), value)), expected);
        }
    }
}

TEST(Printf, TakesWideAndByteStrings)
{
    const WString wide = "Wörter"_w;
    EXPECT_EQ(Printed("%s|%ls|%ws|%lS"_w, wide.c_str(), wide.c_str(), wide.c_str(), wide.c_str()),
              wide + "|"_w + wide + "|"_w + wide + "|"_w + wide);
    EXPECT_EQ(Printed("%S|%hs|%4.1s|%-3s|"_w, "h\xC3\xA4", "\xFFx", wide.c_str(), "z"_w.data()),
              WString("hä|\xEF\xBF\xBDx|   W|z  |"_w));
    EXPECT_EQ(Printed("%s %S"_w, static_cast<const WChar*>(nullptr), static_cast<const char*>(nullptr)),
              WString("(null) (null)"_w));
    EXPECT_EQ(Printed("%c%C%hc%lc%5c|"_w, 0xE4, 'b', 'c', 'd', 'e'), WString("äbcd    e|"_w));
    EXPECT_EQ(Printed("%c"_w, 0), WString(1, WChar{0}));
}

// Arrays without a NUL that end where the precision does; a sanitizer sees a read behind.
TEST(Printf, ReadsNoFurtherThanThePrecision)
{
    const WString wide(3, 'w');
    const std::string bytes(3, 'b');
    EXPECT_PRINT("www bbb", "%.3s %.*S"_w, std::vector<WChar>(wide.begin(), wide.end()).data(), 3, bytes.data());
}

TEST(Printf, RefusesWhatItCannotPrint)
{
    int count = 0;
    EXPECT_PRINT("<error>", "%n"_w, &count);
    EXPECT_PRINT("<error>", "abc%"_w);
    EXPECT_PRINT("<error>", "%5"_w);
    EXPECT_PRINT("<error>", "%99999999999d"_w, 1);
    EXPECT_PRINT("<error>", "%*d"_w, INT_MIN, 1);
    EXPECT_PRINT("<error>", "%2147483647d%d"_w, 1, 1);
    EXPECT_PRINT("<error>", "%.2147483647f"_w, 1.0);
    EXPECT_PRINT("<error>", static_cast<const WChar*>(nullptr));
    EXPECT_PRINT("%y|%", "%%%y|%5%"_w);
}

TEST(Printf, CountsWithoutABufferAndCutsToTheBuffer)
{
    EXPECT_EQ(Print(nullptr, 0, "%2147483647d"_w, 1), INT_MAX);
    EXPECT_EQ(Print(nullptr, 0, "%.2147483646d%c"_w, 1, 'x'), INT_MAX);
    WChar buffer[5] = {'#', '#', '#', '#', '#'};
    EXPECT_EQ(Print(buffer, 4, "%d%s%S%5d"_w, 12, "ab"_w.data(), "cd", 1), 11);
    EXPECT_EQ(WStringView(buffer, 5), WStringView("12a\0#"_w));
}

namespace
{

int handlerCalls = 0;

struct CountingHandler
{
    CountingHandler()
        : previous(SetInvalidParameterHandler([](const WChar*, const WChar*) { ++handlerCalls; }))
    {
        handlerCalls = 0;
        errno = 0;
    }
    ~CountingHandler()
    {
        SetInvalidParameterHandler(previous);
    }
    InvalidParameterHandler previous;
};

} // namespace

TEST(SecurePrint, ReportsATextThatDoesNotFitTheBuffer)
{
    CountingHandler handler;
    WChar buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(SecurePrint(buffer, 4, 2047, "%s"_w, "abc"_w.data()), 3);
    EXPECT_EQ(handlerCalls, 0);
    EXPECT_EQ(SecurePrint(buffer, 4, 2047, "%s"_w, "abcd"_w.data()), -1);
    EXPECT_EQ(handlerCalls, 1);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(WStringView(buffer, 4), WStringView("\0bc\0"_w));
}

TEST(SecurePrint, CutsQuietlyWhereTheCountSaysSo)
{
    CountingHandler handler;
    WChar buffer[4] = {};
    EXPECT_EQ(SecurePrint(buffer, 4, 2, "abc"_w), -1);
    EXPECT_EQ(WString(buffer), WString("ab"_w));
    EXPECT_EQ(SecurePrint(buffer, 4, PrintTruncated, "abcdef"_w), -1);
    EXPECT_EQ(WString(buffer), WString("abc"_w));
    EXPECT_EQ(handlerCalls, 0);
}

TEST(SecurePrint, RefusesMissingBufferAndFormat)
{
    CountingHandler handler;
    WChar buffer[4] = {'#'};
    EXPECT_EQ(SecurePrint(nullptr, 0, 5, "abc"_w), -1);
    EXPECT_EQ(SecurePrint(buffer, 4, 5, nullptr), -1);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(SecurePrint(buffer, 4, 5, "%n"_w, &handlerCalls), -1);
    EXPECT_EQ(handlerCalls, 3);
    EXPECT_EQ(errno, EINVAL);
}

TEST(SecurePrintDeathTest, DefaultHandlerEndsTheProcess)
{
    WChar buffer[2];
    EXPECT_DEATH(SecurePrint(buffer, 2, 10, "abc"_w), "");
}
