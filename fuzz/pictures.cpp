// Dates and times by any picture, moment, flags and size of buffer: length and text have to agree, and nothing may be
// written behind the buffer. And pictures out of any formats of the C library.
//
// Input: 16 bytes of a moment, one of flags, one of a size, then text.
#include "platform/linux/LocalePictures.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

using namespace Quoll;

void Check(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

using Formatter = int (*)(LCID, DWORD, const SYSTEMTIME*, LPCWSTR, LPWSTR, int);

void CheckFormatter(Formatter format, const SYSTEMTIME& moment, DWORD flags, const WString& picture, int size)
{
    constexpr WChar untouched = 0xFFFF;
    const int length = format(LOCALE_INVARIANT, flags, &moment, picture.c_str(), nullptr, 0);
    WString text(static_cast<std::size_t>(size) + 1, untouched);
    const int written = format(LOCALE_INVARIANT, flags, &moment, picture.c_str(), text.data(), size);
    Check(text.back() == untouched);
    Check(size == 0 || written == (length <= size ? length : 0));
    if (written > 0 && size > 0)
    {
        Check(text[static_cast<std::size_t>(written) - 1] == 0);
        Check(text.find(WChar{0}) == static_cast<std::size_t>(written) - 1);
    }
    Check(length > 0 || GetLastError() == ERROR_INVALID_PARAMETER || GetLastError() == ERROR_INVALID_FLAGS);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    SYSTEMTIME moment{};
    if (size < sizeof moment + 2)
    {
        return 0;
    }
    std::memcpy(&moment, data, sizeof moment);
    const DWORD flags = data[sizeof moment];
    const int capacity = data[sizeof moment + 1];
    const WString text(data + sizeof moment + 2, data + size);
    CheckFormatter(&GetDateFormatW, moment, flags, text, capacity);
    CheckFormatter(&GetTimeFormatW, moment, flags, text, capacity);

    const Platform::LocalePictures pictures = Platform::PicturesOf({text, text, text, text});
    for (const WString& picture : {pictures.shortDate, pictures.longDate, pictures.yearMonth})
    {
        CheckFormatter(&GetDateFormatW, moment, 0, picture, capacity);
    }
    return 0;
}
