// One conversion of a print format, taken apart.
#pragma once

#include "Quoll/WideString.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace Quoll::Utilities
{

enum class PrintSize
{
    None,
    Char,
    Short,
    Long,
    LongLong,
    Max,
    Pointer,
    Int32,
    LongDouble,
    Wide
};

// Owns a copy of an argument list, so that it can be handed on by reference.
class PrintArguments
{
public:
    explicit PrintArguments(std::va_list arguments) noexcept
    {
        va_copy(m_list, arguments);
    }
    ~PrintArguments()
    {
        va_end(m_list);
    }
    PrintArguments(const PrintArguments&) = delete;
    PrintArguments& operator=(const PrintArguments&) = delete;

    template<class Type>
    Type Next() noexcept
    {
        return va_arg(m_list, Type);
    }

private:
    std::va_list m_list;
};

struct PrintDirective
{
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1; // none given
    PrintSize size = PrintSize::None;
    WChar type = 0;

    // Whether s and c take wide text here.
    bool TakesWide() const noexcept;

    // Reads a conversion behind its percent sign and moves the format behind it; false on a
    // format error.
    bool Parse(const WChar*& format, PrintArguments& arguments) noexcept;

private:
    void ParseFlags(const WChar*& format) noexcept;
    bool ParseWidth(const WChar*& format, PrintArguments& arguments) noexcept;
    bool ParsePrecision(const WChar*& format, PrintArguments& arguments) noexcept;
    void ParseSize(const WChar*& format) noexcept;
};

// Where a print goes: counts everything, keeps what fits.
class PrintSink
{
public:
    PrintSink(WChar* buffer, std::size_t capacity) noexcept
        : m_buffer(buffer)
        , m_capacity(capacity)
    {
    }

    void Fill(WChar unit, std::uint64_t count) noexcept;
    void Write(WStringView text) noexcept;
    void WriteAscii(const char* text, std::size_t length) noexcept;

    std::uint64_t Count() const noexcept
    {
        return m_count;
    }

    // Ends the text, which is cut if it doesn't fit.
    void Terminate() noexcept;

private:
    std::size_t Room() const noexcept
    {
        return m_count < m_capacity ? m_capacity - static_cast<std::size_t>(m_count) : 0;
    }

    WChar* m_buffer;
    std::size_t m_capacity;
    std::uint64_t m_count = 0;
};

// The parts of a number in print order: blanks, prefix, zeros, body, zeros again, suffix, blanks.
struct PrintNumber
{
    char prefix[4] = {};
    std::size_t prefixLength = 0;
    std::uint64_t leadingZeros = 0;
    const char* body = nullptr;
    std::size_t bodyLength = 0;
    std::uint64_t trailingZeros = 0;
    const char* suffix = nullptr;
    std::size_t suffixLength = 0;

    void AddPrefix(char unit) noexcept
    {
        prefix[prefixLength++] = unit;
    }
};

void PrintPadded(PrintSink& sink, const PrintDirective& directive, PrintNumber number, bool zeroFill) noexcept;
void PrintFloat(PrintSink& sink, const PrintDirective& directive, double value) noexcept;

} // namespace Quoll::Utilities
