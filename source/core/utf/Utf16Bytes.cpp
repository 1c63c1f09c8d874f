#include "core/utf/Utf16Bytes.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace Quoll::Utf
{

namespace
{

// Few enough to be looked at again when something is wrong among them.
constexpr std::size_t BlockUnits = 64;

constexpr std::uint16_t IsFirstHalf(Unit unit) noexcept
{
    return (unit & 0xFC00) == 0xD800 ? 1 : 0;
}

constexpr std::uint16_t IsSecondHalf(Unit unit) noexcept
{
    return (unit & 0xFC00) == 0xDC00 ? 1 : 0;
}

// A first half and a second half are neighbours or there are none of them. Reads one unit more than a block has.
bool IsPairedBlock(const Unit* units) noexcept
{
    std::uint16_t wrong = 0;
    for (std::size_t i = 0; i < BlockUnits; ++i)
    {
        wrong = static_cast<std::uint16_t>(wrong | (IsFirstHalf(units[i]) ^ IsSecondHalf(units[i + 1])));
    }
    return wrong == 0;
}

// The number of units before the first half of a pair that stands alone.
std::size_t CountWellFormed(UnitView wide) noexcept
{
    if (wide.empty() || IsSecondHalf(wide.front()) != 0)
    {
        return 0;
    }
    const std::size_t last = wide.size() - 1;
    std::size_t position = 0;
    while (last - position >= BlockUnits && IsPairedBlock(wide.data() + position))
    {
        position += BlockUnits;
    }
    while (position < last && IsFirstHalf(wide[position]) == IsSecondHalf(wide[position + 1]))
    {
        ++position;
    }
    return IsFirstHalf(wide[position]) != 0 ? position : position + 1;
}

constexpr bool IsHostOrder(ByteOrder order) noexcept
{
    return (order == ByteOrder::Little) == (std::endian::native == std::endian::little);
}

void CopyUnits(const void* from, void* to, std::size_t count, ByteOrder order) noexcept
{
    if (count == 0)
    {
        return;
    }
    if (IsHostOrder(order))
    {
        std::memcpy(to, from, count * sizeof(Unit));
        return;
    }
    const auto* in = static_cast<const unsigned char*>(from);
    auto* out = static_cast<unsigned char*>(to);
    for (std::size_t i = 0; i < count; ++i)
    {
        std::uint16_t unit = 0;
        std::memcpy(&unit, in + i * sizeof(unit), sizeof(unit));
        unit = static_cast<std::uint16_t>(unit << 8 | unit >> 8);
        std::memcpy(out + i * sizeof(unit), &unit, sizeof(unit));
    }
}

// Why a conversion of `size` units, with room for `capacity`, stops behind `done`, before `next`.
Outcome OutcomeAt(std::size_t done, std::size_t size, std::size_t capacity, bool nextIsFirstHalf) noexcept
{
    if (done == size)
    {
        return Outcome::Complete;
    }
    const bool pairNeedsRoom = nextIsFirstHalf && done + 1 == capacity && capacity < size;
    return done == capacity || pairNeedsRoom ? Outcome::NoRoom : Outcome::IllFormed;
}

} // namespace

Progress DecodeUtf16(std::string_view bytes, ByteOrder order, Unit* wide, std::size_t capacity) noexcept
{
    const std::size_t size = bytes.size() / sizeof(Unit);
    const std::size_t count = std::min(size, capacity);
    CopyUnits(bytes.data(), wide, count, order);
    const std::size_t done = CountWellFormed({wide, count});
    Outcome outcome = OutcomeAt(done, size, capacity, done < count && IsFirstHalf(wide[done]) != 0);
    if (outcome == Outcome::Complete && bytes.size() % sizeof(Unit) != 0)
    {
        outcome = Outcome::IllFormed;
    }
    return {done * sizeof(Unit), done, outcome};
}

Progress EncodeUtf16(UnitView wide, ByteOrder order, char* bytes, std::size_t capacity) noexcept
{
    const std::size_t room = capacity / sizeof(Unit);
    const std::size_t done = CountWellFormed(wide.substr(0, room));
    CopyUnits(wide.data(), bytes, done, order);
    const Outcome outcome = OutcomeAt(done, wide.size(), room, done < wide.size() && IsFirstHalf(wide[done]) != 0);
    return {done, done * sizeof(Unit), outcome};
}

} // namespace Quoll::Utf
