// The lines of files, in bytes and in UTF-16.
#include "core/UnitBlock.h"
#include "filesystem/FileProbe.h"
#include "filesystem/LineCollector.h"
#include "filesystem/TextReader.h"
#include "filesystem/TextSource.h"
#include "filesystem/TextWriter.h"

#include <algorithm>
#include <bit>

namespace Quoll::Utilities
{

namespace
{

struct IsFeed
{
    auto operator()(auto units) const noexcept
    {
        return units == std::uint16_t{'\n'};
    }
};

// How many lines there are if the whole file is like its first block, which it need not be: so no more than
// text of that size has when its lines are short, and than there is always room for.
std::size_t GuessLines(std::size_t linesOfBlock, std::size_t unitsOfBlock, std::uint64_t bytes)
{
    constexpr std::uint64_t shortLine = 16;
    constexpr std::uint64_t most = std::uint64_t{1} << 20;
    const std::uint64_t lineSize = unitsOfBlock / (linesOfBlock + 1);
    return static_cast<std::size_t>(std::min(bytes / std::max(lineSize, shortLine), most));
}

std::vector<WString> CollectLines(TextReader& reader, LineRule rule)
{
    std::vector<WString> lines;
    LineCollector collector(lines, rule);
    WStringView units = reader.Next();
    bool goesOn = !units.empty() && collector.Take(units);
    if (goesOn)
    {
        lines.reserve(GuessLines(lines.size(), units.size(), reader.Size()));
    }
    while (goesOn)
    {
        units = reader.Next();
        goesOn = !units.empty() && collector.Take(units);
    }
    collector.Finish();
    return lines;
}

bool WriteTextLine(TextWriter& writer, WStringView line) noexcept
{
    while (true)
    {
        const std::size_t length = CountUntil(line, IsFeed());
        if (!writer.Write(line.substr(0, length), TextForm::Bytes) || !writer.Write("\r\n"))
        {
            return false;
        }
        if (length == line.size())
        {
            return true;
        }
        line.remove_prefix(length + 1);
    }
}

bool WriteUnicodeLine(TextWriter& writer, WStringView line) noexcept
{
    static_assert(std::endian::native == std::endian::little, "units are written as they stand in memory");
    using namespace std::string_view_literals;
    const std::string_view bytes(reinterpret_cast<const char*>(line.data()), line.size() * sizeof(WChar));
    return writer.Write(bytes) && writer.Write("\r\0\n\0"sv);
}

} // namespace

std::vector<WString> File::ReadAllLines(const WString& path)
{
    RequireFile(path);
    TextReader reader(path);
    return reader.IsOpen() ? CollectLines(reader, LineRule::Feeds) : std::vector<WString>();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a caller may give its lines away
void File::WriteAllLines(const WString& path, std::vector<WString> lines)
{
    TextWriter writer(path);
    for (const WString& line : lines)
    {
        if (!WriteTextLine(writer, line) || !writer.Flush())
        {
            return;
        }
    }
}

std::vector<WString> File::ReadAllUnicodeLines(const WString& path)
{
    TextReader reader = OpenText(path);
    AttachUtf16(reader);
    std::vector<WString> lines = CollectLines(reader, LineRule::FeedsAndReturns);
    RequireRead(reader, path);
    return lines;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a caller may give its lines away
void File::WriteAllUnicodeLines(const WString& path, std::vector<WString> lines)
{
    TextWriter writer(path);
    writer.Write(UTF16_LITTLE_MARK);
    for (const WString& line : lines)
    {
        if (!WriteUnicodeLine(writer, line))
        {
            return;
        }
    }
}

} // namespace Quoll::Utilities
