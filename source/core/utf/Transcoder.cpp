#include "core/utf/Transcoder.h"

#include "core/utf/Kernels.h"

#include <algorithm>
#include <iterator>

namespace Quoll::Utf
{

namespace
{

constexpr Unit Replacement = 0xFFFD;
constexpr std::string_view ReplacementBytes = "\xEF\xBF\xBD";

Outcome DecodeAll(DecodeCursor& cursor) noexcept
{
    return DecodePlain(cursor, cursor.inEnd);
}

Outcome EncodeAll(EncodeCursor& cursor) noexcept
{
    return EncodePlain(cursor, cursor.inEnd);
}

std::size_t EstimateDecodePlain(const unsigned char* text, std::size_t length) noexcept
{
    std::size_t units = 0;
    for (std::size_t i = 0; i < length; ++i)
    {
        units += static_cast<std::size_t>(!IsContinuation(text[i])) + static_cast<std::size_t>(text[i] >= 0xF0);
    }
    return units;
}

std::size_t EstimateEncodePlain(const Unit* wide, std::size_t length) noexcept
{
    std::size_t bytes = length;
    for (std::size_t i = 0; i < length; ++i)
    {
        const unsigned unit = static_cast<std::uint16_t>(wide[i]);
        const bool three = unit >= 0x800 && (unit & 0xF800) != 0xD800; // a half of a pair makes two
        bytes += static_cast<std::size_t>(unit >= 0x80) + static_cast<std::size_t>(three);
    }
    return bytes;
}

// The variant in use.
const Kernel& Best() noexcept
{
    static const Kernel best = Kernels().back();
    return best;
}

// Length of the maximal ill-formed subpart that begins the text: the longest start of a
// well-formed sequence, or one byte.
std::size_t SubpartLength(const unsigned char* text, std::size_t length) noexcept
{
    const unsigned lead = text[0];
    const std::size_t expected = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    if (expected < 3 || length < 2 || !IsSecondByte(text[0], text[1]))
    {
        return 1;
    }
    return expected == 4 && length > 2 && IsContinuation(text[2]) ? 3 : 2;
}

DecodeCursor MakeCursor(std::string_view text, Unit* wide, std::size_t capacity) noexcept
{
    const auto* in = reinterpret_cast<const unsigned char*>(text.data());
    return {in, in + text.size(), wide, wide + capacity};
}

EncodeCursor MakeCursor(UnitView wide, char* text, std::size_t capacity) noexcept
{
    return {wide.data(), wide.data() + wide.size(), text, text + capacity};
}

// Converts piece by piece into a scratch buffer and adds up.
template<class View, class Out>
Progress Measure(View text, Progress (*convert)(View, Out*, std::size_t) noexcept) noexcept
{
    Out scratch[1024];
    Progress total{0, 0, Outcome::NoRoom};
    while (total.outcome == Outcome::NoRoom)
    {
        const Progress piece = convert(text.substr(total.read), scratch, std::size(scratch));
        total = {total.read + piece.read, total.written + piece.written, piece.outcome};
    }
    return total;
}

} // namespace

const Kernel PlainKernel{"plain", DecodeAll, EncodeAll, EstimateDecodePlain, EstimateEncodePlain};

const std::vector<Kernel>& Kernels()
{
    static const std::vector<Kernel> kernels = [] {
        std::vector<Kernel> list{PlainKernel};
        AddSsse3Kernel(list);
        AddAvx512Kernel(list);
        return list;
    }();
    return kernels;
}

Progress Decode(std::string_view text, Unit* wide, std::size_t capacity) noexcept
{
    DecodeCursor cursor = MakeCursor(text, wide, capacity);
    const Outcome outcome = Best().decode(cursor);
    const auto* begin = reinterpret_cast<const unsigned char*>(text.data());
    return {static_cast<std::size_t>(cursor.in - begin), static_cast<std::size_t>(cursor.out - wide), outcome};
}

Progress Encode(UnitView wide, char* text, std::size_t capacity) noexcept
{
    EncodeCursor cursor = MakeCursor(wide, text, capacity);
    const Outcome outcome = Best().encode(cursor);
    return {static_cast<std::size_t>(cursor.in - wide.data()), static_cast<std::size_t>(cursor.out - text), outcome};
}

Progress DecodeLenient(std::string_view text, Unit* wide, std::size_t capacity) noexcept
{
    DecodeCursor cursor = MakeCursor(text, wide, capacity);
    Outcome outcome = Best().decode(cursor);
    while (outcome == Outcome::IllFormed)
    {
        if (cursor.out == cursor.outEnd)
        {
            outcome = Outcome::NoRoom;
            break;
        }
        *cursor.out++ = Replacement;
        cursor.in += SubpartLength(cursor.in, static_cast<std::size_t>(cursor.inEnd - cursor.in));
        outcome = Best().decode(cursor);
    }
    const auto* begin = reinterpret_cast<const unsigned char*>(text.data());
    return {static_cast<std::size_t>(cursor.in - begin), static_cast<std::size_t>(cursor.out - wide), outcome};
}

Progress EncodeLenient(UnitView wide, char* text, std::size_t capacity) noexcept
{
    EncodeCursor cursor = MakeCursor(wide, text, capacity);
    Outcome outcome = Best().encode(cursor);
    while (outcome == Outcome::IllFormed)
    {
        if (static_cast<std::size_t>(cursor.outEnd - cursor.out) < ReplacementBytes.size())
        {
            outcome = Outcome::NoRoom;
            break;
        }
        cursor.out = std::copy(ReplacementBytes.begin(), ReplacementBytes.end(), cursor.out);
        ++cursor.in;
        outcome = Best().encode(cursor);
    }
    return {static_cast<std::size_t>(cursor.in - wide.data()), static_cast<std::size_t>(cursor.out - text), outcome};
}

Progress MeasureDecode(std::string_view text, bool lenient) noexcept
{
    return Measure<std::string_view, Unit>(text, lenient ? DecodeLenient : Decode);
}

Progress MeasureEncode(UnitView wide, bool lenient) noexcept
{
    return Measure<UnitView, char>(wide, lenient ? EncodeLenient : Encode);
}

std::size_t EstimateDecode(std::string_view text) noexcept
{
    return Best().estimateDecode(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

std::size_t EstimateEncode(UnitView wide) noexcept
{
    return Best().estimateEncode(wide.data(), wide.size());
}

} // namespace Quoll::Utf
