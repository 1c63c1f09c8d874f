// Conversion between byte and wide text, by the library's one transcoder. The system has no other
// encoding than UTF-8, which is what CP_UTF8 and CP_ACP both mean here.
#include <windows.h>

#include "core/utf/Transcoder.h"

#include <climits>
#include <cstring>

using namespace Quoll;

namespace
{

int Fail(DWORD code) noexcept
{
    SetLastError(code);
    return 0;
}

// The checks that both directions share; ERROR_SUCCESS if there is nothing to object to.
DWORD CheckArguments(UINT codePage, const void* source, int length, const void* target, int capacity) noexcept
{
    const bool known = codePage == CP_UTF8 || codePage == CP_ACP;
    const bool sized = source && length != 0 && capacity >= 0 && (target || capacity == 0) && source != target;
    return known && sized ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// A negative length stands for text that ends in NUL, which is then converted, too.
template<class Unit>
std::basic_string_view<Unit> Source(const Unit* text, int length) noexcept
{
    return {text, length < 0 ? std::char_traits<Unit>::length(text) + 1 : static_cast<std::size_t>(length)};
}

int Result(const Utf::Progress& progress) noexcept
{
    switch (progress.outcome)
    {
    case Utf::Outcome::IllFormed:
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
    case Utf::Outcome::NoRoom:
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    default:
        return progress.written <= INT_MAX ? static_cast<int>(progress.written) : Fail(ERROR_INVALID_PARAMETER);
    }
}

} // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity) noexcept
{
    if (const DWORD error = CheckArguments(codePage, text, length, wide, capacity))
    {
        return Fail(error);
    }
    if ((flags & ~MB_ERR_INVALID_CHARS) != 0)
    {
        return Fail(ERROR_INVALID_FLAGS);
    }
    const bool lenient = flags == 0;
    const std::string_view source = Source(text, length);
    if (capacity == 0)
    {
        return Result(Utf::MeasureDecode(source, lenient));
    }
    return Result((lenient ? Utf::DecodeLenient : Utf::Decode)(source, wide, static_cast<std::size_t>(capacity)));
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int length, LPSTR text, int capacity,
                        LPCSTR defaultChar, BOOL* usedDefault) noexcept
{
    if (const DWORD error = CheckArguments(codePage, wide, length, text, capacity))
    {
        return Fail(error);
    }
    if (defaultChar || usedDefault)
    {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if ((flags & ~WC_ERR_INVALID_CHARS) != 0)
    {
        return Fail(ERROR_INVALID_FLAGS);
    }
    const bool lenient = flags == 0;
    const Utf::UnitView source = Source(wide, length);
    if (capacity == 0)
    {
        return Result(Utf::MeasureEncode(source, lenient));
    }
    return Result((lenient ? Utf::EncodeLenient : Utf::Encode)(source, text, static_cast<std::size_t>(capacity)));
}
