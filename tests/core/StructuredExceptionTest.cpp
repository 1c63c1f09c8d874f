#include "Quoll/StructuredException.h"
#include "Quoll/InvalidParameter.h"

#include "support/ChildProcess.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;
using namespace Quoll::Tests;

namespace
{

std::atomic<int> g_invalidParameters;

// Lets the prints that can't fit return, and counts them.
class CountingHandler
{
public:
    CountingHandler()
        : m_previous(SetInvalidParameterHandler([](const WChar*, const WChar*) { ++g_invalidParameters; }))
    {
        g_invalidParameters = 0;
    }
    ~CountingHandler()
    {
        SetInvalidParameterHandler(m_previous);
    }
    CountingHandler(const CountingHandler&) = delete;
    CountingHandler& operator=(const CountingHandler&) = delete;

private:
    InvalidParameterHandler m_previous;
};

struct Records
{
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};

    explicit Records(DWORD code, DWORD contextFlags = 0)
    {
        record.ExceptionCode = code;
        context.ContextFlags = contextFlags;
        std::memset(&context.Rax, 0xEE, sizeof context.Rax);
    }
};

TEST(StructuredExceptionTest, NamesOfCodes)
{
    EXPECT_EQ(Exception::GetExceptionType(0xC0000005), "ACCESS_VIOLATION"_w);
    EXPECT_EQ(Exception::GetExceptionType(0x80000003), "BREAKPOINT FOUND"_w);
    EXPECT_EQ(Exception::GetExceptionType(0xE0000001), "SE_ZERO_ELEM"_w);
    EXPECT_EQ(Exception::GetExceptionType(0x12345678), "UNKNOWN"_w);
    EXPECT_EQ(Exception::GetExceptionType(0xFFFFFFFF), "UNKNOWN"_w);
}

TEST(StructuredExceptionTest, OwnExceptionCarriesItsText)
{
    const WString own = "what went wrong"_w;
    Records records(0xE0000001, 0x10003);
    records.record.NumberParameters = 1;
    records.record.ExceptionInformation[0] = reinterpret_cast<ULONG_PTR>(own.c_str());
    WString text = "old"_w;
    EXPECT_EQ(Exception::CheckException(&records.pointers, text), 1);
    EXPECT_EQ(text, own);

    records.record.NumberParameters = 0;
    EXPECT_EQ(Exception::CheckException(&records.pointers, text), 1);
    EXPECT_EQ(text, WString());
}

TEST(StructuredExceptionTest, NameAloneWithoutRegisters)
{
    const CountingHandler handler;
    Records records(0xC0000094);
    WString text = "old"_w;
    EXPECT_EQ(Exception::CheckException(&records.pointers, text), 1);
    EXPECT_EQ(text, "INT_DIVIDE_BY_ZERO\r\n  "_w);
    EXPECT_EQ(g_invalidParameters, 0);
}

TEST(StructuredExceptionTest, EachKindOfRegistersAddsTwelveUnitsThatBeginWithNul)
{
    const WString name = "ACCESS_VIOLATION\r\n  "_w;
    const struct
    {
        DWORD flags;
        int prints;
    } rows[] = {{0x2, 1}, {0x1, 1}, {0x3, 2}, {0x10000, 2}, {0x100004, 0}, {0x10007, 2}};
    for (const auto& row : rows)
    {
        const CountingHandler handler;
        Records records(0xC0000005, row.flags);
        WString text;
        EXPECT_EQ(Exception::CheckException(&records.pointers, text), 1);
        EXPECT_EQ(g_invalidParameters, row.prints) << row.flags;
        ASSERT_EQ(text.size(), name.size() + 12 * static_cast<std::size_t>(row.prints)) << row.flags;
        EXPECT_TRUE(text.starts_with(name));
        for (std::size_t at = name.size(); at < text.size(); at += 12)
        {
            EXPECT_EQ(text[at], WChar());
        }
    }
}

TEST(StructuredExceptionTest, MissingRecordsSayNothing)
{
    WString text = "old"_w;
    EXPECT_EQ(Exception::CheckException(nullptr, text), 1);
    EXPECT_EQ(text, WString());
    Records records(0xC000001D, 0x10003);
    records.pointers.ContextRecord = nullptr;
    EXPECT_EQ(Exception::CheckException(&records.pointers, text), 1);
    EXPECT_EQ(text, "ILLEGAL_INSTRUCTION\r\n  "_w);
}

CHILD_PROCESS(SetException)
{
    const WString text = "the end"_w;
    const std::uintptr_t words[] = {reinterpret_cast<std::uintptr_t>(text.c_str())};
    Exception::SetException(words);
}

CHILD_PROCESS(CheckExceptionByDefault)
{
    Records records(0xC0000005, 0x10002);
    WString text;
    Exception::CheckException(&records.pointers, text);
    return 0;
}

TEST(StructuredExceptionTest, SetExceptionEndsAnUnguardedProcess)
{
    ChildProcess child("SetException");
    const int code = child.Wait();
    EXPECT_TRUE(code == 134 || code == static_cast<int>(0xE0000001)) << code;
}

TEST(StructuredExceptionTest, RegistersEndTheProcessByDefault)
{
    ChildProcess child("CheckExceptionByDefault");
    EXPECT_NE(child.Wait(), 0);
}

} // namespace

} // namespace Quoll::Utilities
