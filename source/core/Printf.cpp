#include "core/Printf.h"

#include "core/PrintDirective.h"
#include "core/utf/Transcoder.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace Quoll::Utilities
{

namespace
{

using Arguments = PrintArguments;
using Directive = PrintDirective;

std::int64_t NextSigned(PrintSize size, Arguments& arguments) noexcept
{
    switch (size)
    {
    case PrintSize::Char:
        return static_cast<signed char>(arguments.Next<int>());
    case PrintSize::Short:
        return static_cast<short>(arguments.Next<int>());
    case PrintSize::Long:
        return arguments.Next<long>();
    case PrintSize::LongLong:
    case PrintSize::LongDouble:
        return arguments.Next<long long>();
    case PrintSize::Max:
        return arguments.Next<std::intmax_t>();
    case PrintSize::Pointer:
        return arguments.Next<std::ptrdiff_t>();
    default:
        return arguments.Next<int>();
    }
}

std::uint64_t NextUnsigned(PrintSize size, Arguments& arguments) noexcept
{
    const auto value = static_cast<std::uint64_t>(NextSigned(size, arguments));
    switch (size)
    {
    case PrintSize::Char:
        return value & 0xFF;
    case PrintSize::Short:
        return value & 0xFFFF;
    case PrintSize::Long:
        return static_cast<unsigned long>(value);
    case PrintSize::LongLong:
    case PrintSize::LongDouble:
    case PrintSize::Max:
        return value;
    case PrintSize::Pointer:
        return static_cast<std::size_t>(value);
    default:
        return static_cast<unsigned int>(value);
    }
}

void PrintInteger(PrintSink& sink, const Directive& directive, PrintNumber number, std::uint64_t value, unsigned base,
                  bool upper) noexcept
{
    // A pointer of its own: g++ 12 gets a conditional literal that is indexed at once wrong under UBSan.
    const char* const alphabet = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    char digits[24];
    char* first = std::end(digits);
    for (std::uint64_t rest = value; rest != 0; rest /= base)
    {
        *--first = alphabet[rest % base];
    }
    const auto length = static_cast<std::uint64_t>(std::end(digits) - first);
    const std::uint64_t least = directive.precision < 0 ? 1 : static_cast<std::uint64_t>(directive.precision);
    number.leadingZeros = least > length ? least - length : 0;
    if (directive.alternate && base == 8 && number.leadingZeros == 0)
    {
        number.leadingZeros = 1;
    }
    number.body = first;
    number.bodyLength = static_cast<std::size_t>(length);
    PrintPadded(sink, directive, number, directive.zero && directive.precision < 0);
}

void PrintSigned(PrintSink& sink, const Directive& directive, std::int64_t value) noexcept
{
    PrintNumber number;
    if (value < 0)
    {
        number.AddPrefix('-');
    }
    else if (directive.plus || directive.blank)
    {
        number.AddPrefix(directive.plus ? '+' : ' ');
    }
    const auto pattern = static_cast<std::uint64_t>(value);
    PrintInteger(sink, directive, number, value < 0 ? 0 - pattern : pattern, 10, false);
}

void PrintUnsigned(PrintSink& sink, const Directive& directive, std::uint64_t value) noexcept
{
    const WChar type = directive.type;
    PrintNumber number;
    if (directive.alternate && value != 0 && (type == 'x' || type == 'X'))
    {
        number.AddPrefix('0');
        number.AddPrefix(static_cast<char>(type));
    }
    PrintInteger(sink, directive, number, value, type == 'u' ? 10 : type == 'o' ? 8 : 16, type == 'X');
}

void PrintPointer(PrintSink& sink, Directive directive, const void* pointer) noexcept
{
    directive.precision = 2 * static_cast<int>(sizeof(pointer));
    directive.type = 'X';
    PrintUnsigned(sink, directive, reinterpret_cast<std::uintptr_t>(pointer));
}

template<class Write>
void PrintInField(PrintSink& sink, const Directive& directive, std::uint64_t length, Write write) noexcept
{
    const auto width = static_cast<std::uint64_t>(directive.width);
    const std::uint64_t padding = width > length ? width - length : 0;
    const WChar filler = directive.zero && !directive.left ? '0' : ' ';
    sink.Fill(filler, directive.left ? 0 : padding);
    write();
    sink.Fill(' ', directive.left ? padding : 0);
}

// The text up to its NUL, never reading more than the precision allows.
template<class Unit>
std::basic_string_view<Unit> BoundedText(const Unit* text, int precision) noexcept
{
    if (precision < 0)
    {
        return text;
    }
    const auto limit = static_cast<std::size_t>(precision);
    std::size_t length = 0;
    while (length < limit && text[length] != 0)
    {
        ++length;
    }
    return {text, length};
}

void PrintWide(PrintSink& sink, const Directive& directive, const WChar* text) noexcept
{
    const WStringView shown = BoundedText(text ? text : "(null)"_w, directive.precision);
    PrintInField(sink, directive, shown.size(), [&] { sink.Write(shown); });
}

void PrintBytes(PrintSink& sink, const Directive& directive, const char* text) noexcept
{
    std::string_view rest = BoundedText(text ? text : "(null)", directive.precision);
    PrintInField(sink, directive, Utf::MeasureDecode(rest, true).written, [&] {
        WChar piece[256];
        while (!rest.empty())
        {
            const Utf::Progress progress = Utf::DecodeLenient(rest, piece, std::size(piece));
            sink.Write({piece, progress.written});
            rest.remove_prefix(progress.read);
        }
    });
}

void PrintUnit(PrintSink& sink, const Directive& directive, int value) noexcept
{
    const bool wide = directive.TakesWide();
    const auto byte = static_cast<unsigned char>(value);
    const auto unit = static_cast<WChar>(wide ? value : byte < 0x80 ? byte : 0xFFFD);
    PrintInField(sink, directive, 1, [&] { sink.Fill(unit, 1); });
}

// False for a conversion that is refused.
bool PrintOne(PrintSink& sink, const Directive& directive, Arguments& arguments) noexcept
{
    switch (directive.type)
    {
    case 'd':
    case 'i':
        PrintSigned(sink, directive, NextSigned(directive.size, arguments));
        return true;
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        PrintUnsigned(sink, directive, NextUnsigned(directive.size, arguments));
        return true;
    case 'p':
        PrintPointer(sink, directive, arguments.Next<void*>());
        return true;
    case 'c':
    case 'C':
        PrintUnit(sink, directive, arguments.Next<int>());
        return true;
    case 's':
    case 'S':
        directive.TakesWide() ? PrintWide(sink, directive, arguments.Next<const WChar*>())
                              : PrintBytes(sink, directive, arguments.Next<const char*>());
        return true;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        PrintFloat(sink, directive,
                   directive.size == PrintSize::LongDouble ? static_cast<double>(arguments.Next<long double>())
                                                           : arguments.Next<double>());
        return true;
    case 'n':
        return false;
    default:
        sink.Fill(directive.type, 1);
        return true;
    }
}

bool PrintAll(PrintSink& sink, const WChar* format, Arguments& arguments) noexcept
{
    while (*format != 0)
    {
        const WChar* const literal = format;
        while (*format != 0 && *format != '%')
        {
            ++format;
        }
        sink.Write({literal, static_cast<std::size_t>(format - literal)});
        if (*format == 0)
        {
            break;
        }
        Directive directive;
        if (!directive.Parse(++format, arguments) || !PrintOne(sink, directive, arguments))
        {
            return false;
        }
    }
    return true;
}

} // namespace

int VPrint(WChar* buffer, std::size_t capacity, const WChar* format, std::va_list arguments) noexcept
{
    PrintSink sink(buffer, capacity);
    Arguments list(arguments);
    const bool succeeded = format && PrintAll(sink, format, list);
    sink.Terminate();
    constexpr std::uint64_t longest = std::numeric_limits<int>::max();
    return succeeded && sink.Count() <= longest ? static_cast<int>(sink.Count()) : -1;
}

int Print(WChar* buffer, std::size_t capacity, const WChar* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    const int length = VPrint(buffer, capacity, format, arguments);
    va_end(arguments);
    return length;
}

} // namespace Quoll::Utilities
