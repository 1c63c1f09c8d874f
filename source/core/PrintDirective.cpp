#include "core/PrintDirective.h"

#include <algorithm>
#include <limits>

namespace Quoll::Utilities
{

namespace
{

// Reads a decimal number; false if it is above INT_MAX.
bool ReadNumber(const WChar*& format, int& number) noexcept
{
    std::int64_t value = 0;
    for (; *format >= '0' && *format <= '9'; ++format)
    {
        value = value * 10 + (*format - '0');
        if (value > std::numeric_limits<int>::max())
        {
            return false;
        }
    }
    number = static_cast<int>(value);
    return true;
}

} // namespace

void PrintDirective::ParseFlags(const WChar*& format) noexcept
{
    for (;; ++format)
    {
        switch (*format)
        {
        case '-':
            left = true;
            break;
        case '+':
            plus = true;
            break;
        case ' ':
            blank = true;
            break;
        case '#':
            alternate = true;
            break;
        case '0':
            zero = true;
            break;
        default:
            return;
        }
    }
}

bool PrintDirective::ParseWidth(const WChar*& format, PrintArguments& arguments) noexcept
{
    if (*format != '*')
    {
        return ReadNumber(format, width);
    }
    ++format;
    width = arguments.Next<int>();
    if (width == std::numeric_limits<int>::min())
    {
        return false;
    }
    if (width < 0)
    {
        left = true;
        width = -width;
    }
    return true;
}

bool PrintDirective::ParsePrecision(const WChar*& format, PrintArguments& arguments) noexcept
{
    if (*format != '.')
    {
        return true;
    }
    ++format;
    if (*format != '*')
    {
        return ReadNumber(format, precision);
    }
    ++format;
    precision = std::max(arguments.Next<int>(), -1);
    return true;
}

void PrintDirective::ParseSize(const WChar*& format) noexcept
{
    const WChar first = *format;
    const auto take = [&](int units, PrintSize taken) {
        format += units;
        size = taken;
    };
    switch (first)
    {
    case 'h':
        return format[1] == 'h' ? take(2, PrintSize::Char) : take(1, PrintSize::Short);
    case 'l':
        return format[1] == 'l' ? take(2, PrintSize::LongLong) : take(1, PrintSize::Long);
    case 'I':
        if (format[1] == '6' && format[2] == '4')
        {
            return take(3, PrintSize::LongLong);
        }
        return format[1] == '3' && format[2] == '2' ? take(3, PrintSize::Int32) : take(1, PrintSize::Pointer);
    case 'j':
        return take(1, PrintSize::Max);
    case 'z':
    case 't':
        return take(1, PrintSize::Pointer);
    case 'L':
        return take(1, PrintSize::LongDouble);
    case 'w':
        return take(1, PrintSize::Wide);
    default:
        return;
    }
}

bool PrintDirective::Parse(const WChar*& format, PrintArguments& arguments) noexcept
{
    ParseFlags(format);
    if (!ParseWidth(format, arguments) || !ParsePrecision(format, arguments))
    {
        return false;
    }
    ParseSize(format);
    type = *format;
    if (type == 0)
    {
        return false;
    }
    ++format;
    return true;
}

bool PrintDirective::TakesWide() const noexcept
{
    switch (size)
    {
    case PrintSize::Char:
    case PrintSize::Short:
        return false;
    case PrintSize::Long:
    case PrintSize::LongLong:
    case PrintSize::Wide:
        return true;
    default:
        return type == 's' || type == 'c';
    }
}

void PrintSink::Fill(WChar unit, std::uint64_t count) noexcept
{
    const auto fitting = static_cast<std::size_t>(std::min<std::uint64_t>(count, Room()));
    std::fill_n(m_buffer ? m_buffer + m_count : nullptr, fitting, unit);
    m_count += count;
}

void PrintSink::Write(WStringView text) noexcept
{
    std::copy_n(text.begin(), std::min(text.size(), Room()), m_buffer ? m_buffer + m_count : nullptr);
    m_count += text.size();
}

void PrintSink::WriteAscii(const char* text, std::size_t length) noexcept
{
    const std::size_t fitting = std::min(length, Room());
    for (std::size_t i = 0; i < fitting; ++i)
    {
        m_buffer[m_count + i] = static_cast<WChar>(static_cast<unsigned char>(text[i]));
    }
    m_count += length;
}

void PrintSink::Terminate() noexcept
{
    if (m_capacity > 0)
    {
        m_buffer[std::min<std::uint64_t>(m_count, m_capacity - 1)] = 0;
    }
}

void PrintPadded(PrintSink& sink, const PrintDirective& directive, PrintNumber number, bool zeroFill) noexcept
{
    const std::uint64_t length =
        number.prefixLength + number.leadingZeros + number.bodyLength + number.trailingZeros + number.suffixLength;
    const auto width = static_cast<std::uint64_t>(directive.width);
    std::uint64_t padding = width > length ? width - length : 0;
    if (zeroFill && !directive.left)
    {
        number.leadingZeros += padding;
        padding = 0;
    }
    sink.Fill(' ', directive.left ? 0 : padding);
    sink.WriteAscii(number.prefix, number.prefixLength);
    sink.Fill('0', number.leadingZeros);
    sink.WriteAscii(number.body, number.bodyLength);
    sink.Fill('0', number.trailingZeros);
    sink.WriteAscii(number.suffix, number.suffixLength);
    sink.Fill(' ', directive.left ? padding : 0);
}

} // namespace Quoll::Utilities
