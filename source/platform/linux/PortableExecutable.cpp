#include "platform/linux/PortableExecutable.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <optional>

namespace Quoll::Platform
{

namespace
{

static_assert(std::endian::native == std::endian::little, "the file's numbers are read as they stand");

constexpr std::uint32_t versionType = 16;
constexpr std::uint32_t versionName = 1;
constexpr std::uint32_t neutral = 0;
constexpr std::uint32_t americanEnglish = 0x409;
constexpr std::uint32_t isFolder = 0x80000000; // in an entry's offset, and in its name: it is a text

struct Section
{
    char name[8];
    std::uint32_t sizeInMemory;
    std::uint32_t address;
    std::uint32_t sizeInFile;
    std::uint32_t offset;
    std::uint32_t unused[4];
};

struct Entry
{
    std::uint32_t name;
    std::uint32_t offset; // from the beginning of all resources
};

struct DataEntry
{
    std::uint32_t address;
    std::uint32_t size;
    std::uint32_t codePage;
    std::uint32_t reserved;
};

static_assert(sizeof(Section) == 40 && sizeof(Entry) == 8 && sizeof(DataEntry) == 16);

template<class Record>
std::optional<Record> ReadRecord(const FileBytes& file, std::uint64_t offset) noexcept
{
    Record record;
    return file.Read(offset, &record, sizeof(record)) ? std::optional(record) : std::nullopt;
}

// The headers of a program, and the way from addresses to places in the file.
class Headers
{
public:
    explicit Headers(const FileBytes& file) noexcept
        : m_file(file)
    {
    }

    bool Read() noexcept
    {
        const auto signature = ReadRecord<std::uint16_t>(m_file, 0);
        const auto start = ReadRecord<std::uint32_t>(m_file, 0x3C);
        if (signature != 0x5A4D || !start || ReadRecord<std::uint32_t>(m_file, *start) != 0x4550)
        {
            return false;
        }
        const auto sections = ReadRecord<std::uint16_t>(m_file, *start + std::uint64_t{6});
        const auto optionalSize = ReadRecord<std::uint16_t>(m_file, *start + std::uint64_t{20});
        if (!sections || !optionalSize)
        {
            return false;
        }
        m_optional = *start + std::uint64_t{24};
        m_optionalSize = *optionalSize;
        m_sections = *sections;
        return true;
    }

    // The address of all resources; 0 if there are none.
    std::uint32_t Resources() const noexcept
    {
        const auto magic = ReadRecord<std::uint16_t>(m_file, m_optional);
        const std::uint32_t directories = magic == 0x20B ? 112 : 96; // of a 64-bit program, and of others
        const std::uint32_t resources = directories + 2 * 8;
        const auto count = ReadRecord<std::uint32_t>(m_file, m_optional + directories - 4);
        if ((magic != 0x20B && magic != 0x10B) || m_optionalSize < resources + 8 || !count || *count < 3)
        {
            return 0;
        }
        return ReadRecord<std::uint32_t>(m_file, m_optional + resources).value_or(0);
    }

    std::optional<std::uint64_t> ToOffset(std::uint32_t address) const noexcept
    {
        for (std::uint32_t i = 0; i < m_sections; ++i)
        {
            const auto section =
                ReadRecord<Section>(m_file, m_optional + m_optionalSize + std::uint64_t{i} * sizeof(Section));
            if (!section)
            {
                break;
            }
            if (address >= section->address && address - section->address < section->sizeInFile)
            {
                return std::uint64_t{section->offset} + (address - section->address);
            }
        }
        return std::nullopt;
    }

private:
    const FileBytes& m_file;
    std::uint64_t m_optional = 0;
    std::uint32_t m_optionalSize = 0;
    std::uint32_t m_sections = 0;
};

// Calls `visit` for the entries of a folder that have numbers for names, until it gives true.
template<class Visit>
void ForEachNumber(const FileBytes& file, std::uint64_t folder, Visit visit) noexcept
{
    const auto texts = ReadRecord<std::uint16_t>(file, folder + 12); // which stand first
    const auto numbers = ReadRecord<std::uint16_t>(file, folder + 14);
    std::uint64_t offset = folder + 16 + texts.value_or(0) * sizeof(Entry);
    for (std::size_t left = texts ? numbers.value_or(0) : 0; left > 0;)
    {
        Entry entries[64];
        const std::size_t count = std::min(left, std::size(entries));
        if (!file.Read(offset, entries, count * sizeof(Entry)) || std::any_of(entries, entries + count, visit))
        {
            return;
        }
        left -= count;
        offset += count * sizeof(Entry);
    }
}

// The offset of the folder with that number.
std::optional<std::uint32_t> FindFolder(const FileBytes& file, std::uint64_t folder, std::uint32_t number) noexcept
{
    std::optional<std::uint32_t> found;
    ForEachNumber(file, folder, [&](const Entry& entry) {
        if (entry.name == number && (entry.offset & isFolder) != 0)
        {
            found = entry.offset & ~isFolder;
        }
        return entry.name >= number; // they are sorted
    });
    return found;
}

std::optional<std::uint32_t> FindLanguage(const FileBytes& file, std::uint64_t folder) noexcept
{
    std::optional<std::uint32_t> found;
    ForEachNumber(file, folder, [&](const Entry& entry) {
        const bool isWanted = entry.name == neutral || entry.name == americanEnglish;
        if ((entry.offset & isFolder) == 0 && (isWanted || !found))
        {
            found = entry.offset;
        }
        return isWanted && found;
    });
    return found;
}

} // namespace

bool FindVersionResource(const FileBytes& file, ResourcePlace& place) noexcept
{
    Headers headers(file);
    if (!headers.Read())
    {
        return false;
    }
    const std::uint32_t address = headers.Resources();
    const auto root = address != 0 ? headers.ToOffset(address) : std::nullopt;
    const auto type = root ? FindFolder(file, *root, versionType) : std::nullopt;
    const auto name = type ? FindFolder(file, *root + *type, versionName) : std::nullopt;
    const auto language = name ? FindLanguage(file, *root + *name) : std::nullopt;
    const auto data = language ? ReadRecord<DataEntry>(file, *root + *language) : std::nullopt;
    const auto offset = data ? headers.ToOffset(data->address) : std::nullopt;
    if (!offset)
    {
        return false;
    }
    place = {*offset, data->size};
    return true;
}

} // namespace Quoll::Platform
