// FormatMessageW: messages out of a string or out of the layer's table of error texts.
//
// An argument list can only be read in order and needs the type of each argument. So the message
// is read twice: first the type of every insert is found, then the arguments are fetched by rising
// insert number, last the text is composed. An insert that the message doesn't mention counts as
// a pointer. The texts are English, whatever language is asked for; the argument list is never an
// array; lines aren't broken at a width.
#include "ErrorTexts.h"
#include "core/Printf.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <new>
#include <utility>

using namespace Quoll;

namespace
{

constexpr std::size_t MaxInserts = 99;
constexpr std::size_t LongestAllocated = 0x10000 - 1; // 128 KiB with the NUL, as on Windows

struct Failure
{
    DWORD code;
};

struct Limit
{
    std::size_t units;
    DWORD error; // when the text is longer
};

// %number!directive! taken apart.
struct Insert
{
    std::size_t number = 0;
    std::size_t stars = 0;
    WStringView flags;
    WStringView size;
    WChar type = 's';

    bool TakesText() const noexcept
    {
        return type == 's' || type == 'S';
    }
    bool TakesWord() const noexcept
    {
        const bool wideSize = !size.empty() && size[0] != 'h' && size != "I32"_w;
        return TakesText() || type == 'p' || (wideSize && type != 'c' && type != 'C');
    }
};

// What the argument list holds for one insert.
struct Argument
{
    bool word = false; // 64 bits rather than an int
    std::size_t stars = 0;
    bool mentioned = false;
    std::array<int, 2> starValues{};
    std::uint64_t value = 0;
};

WStringView TakeWhile(WStringView& text, WStringView units) noexcept
{
    const WStringView taken = text.substr(0, std::min(text.find_first_not_of(units), text.size()));
    text.remove_prefix(taken.size());
    return taken;
}

void ParseDirective(WStringView directive, Insert& insert)
{
    insert.flags = TakeWhile(directive, "-+ #0123456789.*"_w);
    insert.stars = static_cast<std::size_t>(std::count(insert.flags.begin(), insert.flags.end(), '*'));
    insert.size = TakeWhile(directive, "hljztwI6432"_w);
    // Floating point is refused, as by the platform; so is what would write to memory.
    const bool known = directive.size() == 1 && "diuoxXcCsSp"_w.find(directive[0]) < 11;
    if (!known || insert.stars > 2)
    {
        throw Failure{ERROR_INVALID_PARAMETER};
    }
    insert.type = directive[0];
}

// Reads an insert behind its percent sign and moves the message behind it.
Insert ParseInsert(WStringView& message)
{
    Insert insert;
    for (int digits = 0; digits < 2 && !message.empty() && message[0] >= '0' && message[0] <= '9'; ++digits)
    {
        insert.number = insert.number * 10 + static_cast<std::size_t>(message[0] - '0');
        message.remove_prefix(1);
    }
    if (!message.empty() && message[0] == '!')
    {
        const std::size_t end = message.find('!', 1);
        if (end == WStringView::npos)
        {
            throw Failure{ERROR_INVALID_PARAMETER};
        }
        ParseDirective(message.substr(1, end - 1), insert);
        message.remove_prefix(end + 1);
    }
    return insert;
}

class Formatter
{
public:
    Formatter(WStringView message, bool ignoreInserts, Limit limit) noexcept
        : m_message(message)
        , m_ignoreInserts(ignoreInserts)
        , m_limit(limit)
    {
    }

    WString Format(va_list* arguments)
    {
        if (!m_ignoreInserts)
        {
            Walk([this](const Insert& insert) { Note(insert); });
            Fetch(arguments);
            m_text.clear();
        }
        Walk([this](const Insert& insert) { Print(insert); });
        return std::move(m_text);
    }

private:
    template<class OnInsert>
    void Walk(OnInsert onInsert)
    {
        for (WStringView rest = m_message; !rest.empty();)
        {
            const WChar unit = rest[0];
            rest.remove_prefix(1);
            if (unit == '\r' || unit == '\n')
            {
                const bool pair = unit == '\r' && !rest.empty() && rest[0] == '\n';
                rest.remove_prefix(pair ? 1 : 0);
                Append("\r\n"_w);
            }
            else if (unit != '%')
            {
                Append({&unit, 1});
            }
            else if (!WalkEscape(rest, onInsert))
            {
                return;
            }
        }
    }

    // False where the message ends.
    template<class OnInsert>
    bool WalkEscape(WStringView& rest, OnInsert onInsert)
    {
        if (rest.empty())
        {
            throw Failure{ERROR_INVALID_PARAMETER};
        }
        const WChar unit = rest[0];
        if (unit >= '1' && unit <= '9' && !m_ignoreInserts)
        {
            onInsert(ParseInsert(rest));
            return true;
        }
        rest.remove_prefix(1);
        switch (unit)
        {
        case '0':
            return false;
        case 'n':
            Append("\r\n"_w);
            break;
        case 'r':
            Append("\r"_w);
            break;
        case 't':
            Append("\t"_w);
            break;
        default:
            if (m_ignoreInserts && (unit == '%' || (unit >= '1' && unit <= '9')))
            {
                Append("%"_w); // inserts pass through as they stand
            }
            Append({&unit, 1});
            break;
        }
        return true;
    }

    void Note(const Insert& insert) noexcept
    {
        Argument& argument = m_arguments[insert.number];
        argument.word = argument.word || insert.TakesWord();
        argument.stars = std::max(argument.stars, insert.stars);
        argument.mentioned = true;
        m_last = std::max(m_last, insert.number);
    }

    void Fetch(va_list* arguments)
    {
        if (m_last > 0 && !arguments)
        {
            throw Failure{ERROR_INVALID_PARAMETER};
        }
        for (std::size_t number = 1; number <= m_last; ++number)
        {
            Argument& argument = m_arguments[number];
            for (std::size_t star = 0; star < argument.stars; ++star)
            {
                argument.starValues[star] = va_arg(*arguments, int);
            }
            argument.value = argument.word || !argument.mentioned ? va_arg(*arguments, std::uint64_t)
                                                                  : static_cast<std::uint64_t>(va_arg(*arguments, int));
        }
    }

    void Print(const Insert& insert)
    {
        const Argument& argument = m_arguments[insert.number];
        WString format(1, '%');
        std::size_t star = 0;
        for (const WChar unit : insert.flags)
        {
            unit == '*' ? AppendStar(format, argument.starValues[star++]) : format.push_back(unit);
        }
        format.append(insert.size).push_back(insert.type);
        if (insert.TakesText() || insert.type == 'p')
        {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the argument is the caller's pointer
            PrintValue(format.c_str(), reinterpret_cast<const void*>(argument.value));
        }
        else
        {
            insert.TakesWord() ? PrintValue(format.c_str(), argument.value)
                               : PrintValue(format.c_str(), static_cast<int>(argument.value));
        }
    }

    static void AppendStar(WString& format, int number)
    {
        if (number < 0 && format.back() == '.')
        {
            format.pop_back(); // a negative precision counts as none
            return;
        }
        WChar digits[16];
        Utilities::Print(digits, std::size(digits), "%d"_w, number);
        format.append(digits);
    }

    template<class Value>
    void PrintValue(const WChar* format, Value value)
    {
        const int length = Utilities::Print(nullptr, 0, format, value);
        if (length < 0)
        {
            throw Failure{ERROR_INVALID_PARAMETER};
        }
        const std::size_t begin = m_text.size();
        CheckRoom(static_cast<std::size_t>(length));
        m_text.resize(begin + static_cast<std::size_t>(length));
        Utilities::Print(m_text.data() + begin, static_cast<std::size_t>(length) + 1, format, value);
    }

    void Append(WStringView text)
    {
        CheckRoom(text.size());
        m_text.append(text);
    }

    void CheckRoom(std::size_t more) const
    {
        if (more > m_limit.units - m_text.size())
        {
            throw Failure{m_limit.error};
        }
    }

    WStringView m_message;
    bool m_ignoreInserts;
    Limit m_limit;
    WString m_text;
    std::array<Argument, MaxInserts + 1> m_arguments{};
    std::size_t m_last = 0;
};

const WChar* FindMessage(DWORD flags, LPCVOID source, DWORD message)
{
    if ((flags & FORMAT_MESSAGE_FROM_STRING) != 0 && source)
    {
        return static_cast<const WChar*>(source);
    }
    if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0)
    {
        throw Failure{ERROR_INVALID_PARAMETER};
    }
    // An HRESULT of the platform's facility carries the code in its lower half.
    const DWORD code = (message & 0xFFFF0000) == 0x80070000 ? message & 0xFFFF : message;
    const WChar* const text = Platform::SystemMessage(code);
    return text ? text : throw Failure{ERROR_MR_MID_NOT_FOUND};
}

void Deliver(const WString& text, bool allocate, LPWSTR buffer, DWORD size)
{
    LPWSTR target = buffer;
    if (allocate)
    {
        const std::size_t units = std::max<std::size_t>(size, text.size() + 1);
        target = static_cast<LPWSTR>(LocalAlloc(LMEM_FIXED, units * sizeof(WChar)));
        if (!target)
        {
            throw Failure{ERROR_NOT_ENOUGH_MEMORY};
        }
        *reinterpret_cast<LPWSTR*>(buffer) = target;
    }
    target[text.copy(target, text.size())] = 0;
}

DWORD Compose(DWORD flags, LPCVOID source, DWORD message, LPWSTR buffer, DWORD size, va_list* arguments)
{
    constexpr DWORD known = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS |
                            FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_FROM_SYSTEM;
    const bool allocate = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    if ((flags & ~known) != 0 || !buffer)
    {
        throw Failure{ERROR_INVALID_PARAMETER};
    }
    if (allocate)
    {
        *reinterpret_cast<LPWSTR*>(buffer) = nullptr;
    }
    else if (size == 0)
    {
        throw Failure{ERROR_INSUFFICIENT_BUFFER};
    }
    const WChar* const text = FindMessage(flags, source, message);
    const Limit limit =
        allocate ? Limit{LongestAllocated, ERROR_MORE_DATA} : Limit{size - 1, ERROR_INSUFFICIENT_BUFFER};
    Formatter formatter(text, (flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0, limit);
    const WString composed = formatter.Format(arguments);
    if (composed.empty())
    {
        throw Failure{ERROR_NO_WORK_DONE};
    }
    Deliver(composed, allocate, buffer, size);
    return static_cast<DWORD>(composed.size());
}

} // namespace

DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD message, DWORD, LPWSTR buffer, DWORD size,
                     va_list* arguments) noexcept
{
    try
    {
        return Compose(flags, source, message, buffer, size, arguments);
    }
    catch (const Failure& failure)
    {
        SetLastError(failure.code);
    }
    catch (const std::bad_alloc&)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return 0;
}
