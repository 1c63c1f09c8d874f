#include "platform/linux/ZoneSource.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr std::int64_t LargestFile = 256 << 10; // a hundred times the largest one there is

FileState StateOf(const struct stat& status) noexcept
{
    if (!S_ISREG(status.st_mode))
    {
        return {};
    }
    const auto nanoseconds = [](const timespec& time) {
        return time.tv_sec * 1'000'000'000 + time.tv_nsec;
    };
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .size = status.st_size,
            .modified = nanoseconds(status.st_mtim),
            .changed = nanoseconds(status.st_ctim)};
}

// Looks before anything is opened: opening a device or a pipe could do something, or block.
FileState StateOf(const std::string& path) noexcept
{
    struct stat status{};
    return !path.empty() && stat(path.c_str(), &status) == 0 ? StateOf(status) : FileState{};
}

// A colon in front says nothing new: a file is looked for first in any case.
std::string_view WithoutColon(std::string_view text) noexcept
{
    text.remove_prefix(!text.empty() && text.front() == ':' ? 1 : 0);
    return text;
}

bool ClimbsUp(std::string_view name) noexcept
{
    for (std::size_t start = 0; start <= name.size();)
    {
        const std::size_t end = std::min(name.find('/', start), name.size());
        if (name.substr(start, end - start) == "..")
        {
            return true;
        }
        start = end + 1;
    }
    return false;
}

std::string PathOf(const char* text)
{
    if (text == nullptr)
    {
        return "/etc/localtime";
    }
    const std::string_view name = WithoutColon(text);
    if (name.empty() || name.front() == '/')
    {
        return std::string(name);
    }
    if (ClimbsUp(name))
    {
        return {};
    }
    const char* const folder = secure_getenv("TZDIR");
    return std::string(folder != nullptr && *folder != '\0' ? folder : "/usr/share/zoneinfo") + '/' + std::string(name);
}

class Descriptor
{
public:
    explicit Descriptor(const std::string& path) noexcept
        : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
    {
    }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor()
    {
        if (m_descriptor >= 0)
        {
            close(m_descriptor);
        }
    }

    FileState State() const noexcept
    {
        struct stat status{};
        return fstat(m_descriptor, &status) == 0 ? StateOf(status) : FileState{};
    }

    // Nothing if it has another size than expected.
    std::string Read(std::int64_t size) const
    {
        std::string bytes(static_cast<std::size_t>(size) + 1, '\0');
        std::size_t have = 0;
        ssize_t count = 1;
        while (have < bytes.size() && (count > 0 || (count < 0 && errno == EINTR)))
        {
            count = read(m_descriptor, bytes.data() + have, bytes.size() - have);
            have += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        bytes.resize(have == static_cast<std::size_t>(size) ? have : 0);
        return bytes;
    }

private:
    int m_descriptor;
};

Zone UniversalTime()
{
    return {.times = {ZoneTime{}}, .transitions = {}, .rule = {}};
}

} // namespace

ZoneSource::ZoneSource(const char* text)
    : m_present(text != nullptr)
    , m_text(text != nullptr ? text : "")
    , m_path(PathOf(text))
    , m_state(StateOf(m_path))
{
    Load();
}

bool ZoneSource::IsFrom(const char* text) const noexcept
{
    return text == nullptr ? !m_present : m_present && m_text == text;
}

bool ZoneSource::Refresh()
{
    if (StateOf(m_path) == m_state)
    {
        return false;
    }
    *this = ZoneSource(m_present ? m_text.c_str() : nullptr);
    return true;
}

void ZoneSource::Load()
{
    std::optional<Zone> zone = ReadFile();
    if (!zone && m_present)
    {
        if (auto rule = ParseZoneRule(WithoutColon(m_text)))
        {
            zone = UniversalTime();
            zone->rule = std::move(rule);
        }
    }
    m_zone = zone ? std::move(*zone) : UniversalTime();
}

std::optional<Zone> ZoneSource::ReadFile()
{
    if (m_state == FileState{})
    {
        return std::nullopt;
    }
    const Descriptor file(m_path);
    m_state = file.State();
    if (m_state.size <= 0 || m_state.size > LargestFile)
    {
        return std::nullopt;
    }
    const std::string content = file.Read(m_state.size);
    if (content.size() != static_cast<std::size_t>(m_state.size))
    {
        m_state = {}; // to be read again
    }
    return ParseZoneFile(content);
}

} // namespace Quoll::Platform
