// A slow, obvious reading of text files, one sequence at a time.
#pragma once

#include "Quoll/File.h"

#include <string>
#include <string_view>

namespace Quoll::Tests
{

// Slow oracles of one sequence: its length, and the character, or nothing if it is wrong.
struct Sequence
{
    std::size_t length = 0;
    char32_t character = 0;
};

inline Sequence FirstOfUtf8(std::string_view bytes)
{
    const auto byte = [&](std::size_t i) {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u;
    };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80 ? 1 : lead >> 5 == 6 ? 2 : lead >> 4 == 14 ? 3 : lead >> 3 == 30 ? 4 : 0;
    char32_t character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        if (byte(i) >> 6 != 2)
        {
            return {};
        }
        character = character << 6 | (byte(i) & 63);
    }
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isRight = character >= least[length] && character <= 0x10FFFF && character >> 11 != 27;
    return isRight && length != 0 && length <= bytes.size() ? Sequence{length, character} : Sequence{};
}

inline Sequence FirstOfUtf16(std::string_view bytes, bool isBig)
{
    const auto unit = [&](std::size_t i) -> char32_t {
        return i + 2 > bytes.size() ? 0u
                                    : static_cast<unsigned char>(bytes[i + isBig]) |
                                          static_cast<char32_t>(static_cast<unsigned char>(bytes[i + !isBig])) << 8;
    };
    if (bytes.size() < 2 || unit(0) >> 10 == 55)
    {
        return {};
    }
    if (unit(0) >> 10 != 54)
    {
        return {2, unit(0)};
    }
    return unit(2) >> 10 == 55 ? Sequence{4, 0x10000 + ((unit(0) & 0x3FF) << 10) + (unit(2) & 0x3FF)} : Sequence{};
}

inline void Append(WString& text, char32_t character)
{
    if (character >= 0x10000)
    {
        text += static_cast<WChar>(0xD7C0 + (character >> 10));
        character = 0xDC00 + (character & 0x3FF);
    }
    text += static_cast<WChar>(character);
}

inline WString ReferenceText(std::string_view bytes, Utilities::FileEncoding encoding)
{
    WString text;
    while (true)
    {
        const Sequence next = encoding <= Utilities::FileEncoding::Utf8Bom
                                  ? FirstOfUtf8(bytes)
                                  : FirstOfUtf16(bytes, encoding == Utilities::FileEncoding::Utf16Be);
        if (next.length == 0)
        {
            return text;
        }
        Append(text, next.character);
        bytes.remove_prefix(next.length);
    }
}

inline std::string ReferenceMark(Utilities::FileEncoding encoding)
{
    const std::string marks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF", ""};
    return marks[static_cast<std::size_t>(encoding)];
}

} // namespace Quoll::Tests
