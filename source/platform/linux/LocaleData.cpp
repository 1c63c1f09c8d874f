// Which locale a number stands for. The user's is named by the environment, as secure_getenv gives it: a privileged
// process doesn't let its caller choose. The system's is named by a file, which is read anew when it has changed.
#include "LocaleData.h"

#include "LibraryLocale.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quoll::Platform
{

namespace
{

constexpr const char* SettingsFiles[] = {"/etc/locale.conf", "/etc/default/locale"};
constexpr const char* Variables[] = {"LC_ALL", "LC_TIME", "LANG"}; // the first that is set counts
constexpr std::size_t LongestSettings = 0x10000;
constexpr std::size_t MaxKept = 4;

LocaleData MakeInvariant()
{
    LocaleData data;
    data.shortDate = "MM/dd/yyyy"_w;
    data.longDate = "dddd, dd MMMM yyyy"_w;
    data.yearMonth = "yyyy MMMM"_w;
    data.time = "HH:mm:ss"_w;
    data.days = {"Sunday"_w, "Monday"_w, "Tuesday"_w, "Wednesday"_w, "Thursday"_w, "Friday"_w, "Saturday"_w};
    data.months = {"January"_w, "February"_w, "March"_w,     "April"_w,   "May"_w,      "June"_w,
                   "July"_w,    "August"_w,   "September"_w, "October"_w, "November"_w, "December"_w};
    const auto shortOf = [](const WString& name) {
        return name.substr(0, 3);
    };
    std::transform(data.days.begin(), data.days.end(), data.shortDays.begin(), shortOf);
    std::transform(data.months.begin(), data.months.end(), data.shortMonths.begin(), shortOf);
    data.monthsAlone = data.months;
    data.halfDays = {"AM"_w, "PM"_w};
    data.era = "A.D."_w;
    return data;
}

std::shared_ptr<const LocaleData> SharedInvariant()
{
    static const auto& invariant = *new auto(std::make_shared<const LocaleData>(MakeInvariant()));
    return invariant;
}

bool IsInvariantName(std::string_view name) noexcept
{
    const std::string_view language = name.substr(0, name.find_first_of(".@"));
    return language.empty() || language == "C" || language == "POSIX";
}

// The last few locales that were asked for, the latest first. One that isn't there is kept as the invariant one.
class KeptLocales
{
public:
    std::shared_ptr<const LocaleData> Find(const std::string& name)
    {
        if (IsInvariantName(name))
        {
            return SharedInvariant();
        }
        auto data = Kept(name);
        if (!data)
        {
            data = ReadLibraryLocale(name);
            data = data ? data : SharedInvariant();
            Keep(name, data);
        }
        return data;
    }

private:
    struct Entry
    {
        std::string name;
        std::shared_ptr<const LocaleData> data;
    };

    std::shared_ptr<const LocaleData> Kept(const std::string& name)
    {
        const std::scoped_lock guard(m_lock);
        const auto place = std::find_if(m_kept.begin(), m_kept.end(), [&](const Entry& e) { return e.name == name; });
        if (place == m_kept.end())
        {
            return nullptr;
        }
        std::rotate(m_kept.begin(), place, place + 1);
        return m_kept.front().data;
    }

    void Keep(const std::string& name, const std::shared_ptr<const LocaleData>& data)
    {
        const std::scoped_lock guard(m_lock);
        m_kept.insert(m_kept.begin(), Entry{name, data});
        m_kept.resize(std::min(m_kept.size(), MaxKept));
    }

    std::mutex m_lock;
    std::vector<Entry> m_kept;
};

// What a settings file said, and by what one sees that it still says so.
struct Settings
{
    std::string_view file;
    struct stat state{};
    std::string name;

    bool IsOf(std::string_view otherFile, const struct stat& other) const noexcept
    {
        const auto same = [](const timespec& a, const timespec& b) {
            return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
        };
        return file == otherFile && state.st_ino == other.st_ino && state.st_size == other.st_size &&
               same(state.st_mtim, other.st_mtim) && same(state.st_ctim, other.st_ctim);
    }
};

std::string ReadSettings(const char* file)
{
    std::string text(LongestSettings, '\0');
    const int descriptor = open(file, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    ssize_t length = 0;
    do
    {
        length = descriptor < 0 ? 0 : read(descriptor, text.data(), text.size());
    } while (length < 0 && errno == EINTR);
    if (descriptor >= 0)
    {
        close(descriptor);
    }
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

class SystemSettings
{
public:
    std::string Name()
    {
        for (const char* const file : SettingsFiles)
        {
            struct stat state{};
            if (stat(file, &state) == 0)
            {
                return NameIn(file, state);
            }
        }
        return {};
    }

private:
    std::string NameIn(const char* file, const struct stat& state)
    {
        {
            const std::scoped_lock guard(m_lock);
            if (m_last.IsOf(file, state))
            {
                return m_last.name;
            }
        }
        Settings read{file, state, LocaleNameOf(ReadSettings(file))};
        const std::scoped_lock guard(m_lock);
        m_last = std::move(read);
        return m_last.name;
    }

    std::mutex m_lock;
    Settings m_last;
};

std::string SystemLocaleName()
{
    static auto& settings = *new SystemSettings; // outlives static destruction
    return settings.Name();
}

std::string UserLocaleName()
{
    for (const char* const variable : Variables)
    {
        const char* const value = secure_getenv(variable);
        if (value && *value)
        {
            return value;
        }
    }
    return SystemLocaleName();
}

std::string_view Unquoted(std::string_view value) noexcept
{
    const std::size_t end = value.find_last_not_of(" \t\r");
    value = value.substr(0, end + 1);
    const bool quoted = value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0];
    return quoted ? value.substr(1, value.size() - 2) : value;
}

} // namespace

const LocaleData& InvariantLocale()
{
    return *SharedInvariant();
}

std::shared_ptr<const LocaleData> FindLocale(LCID locale)
{
    static auto& kept = *new KeptLocales; // outlives static destruction
    switch (locale)
    {
    case LOCALE_INVARIANT:
        return SharedInvariant();
    case LOCALE_NEUTRAL:
    case LOCALE_USER_DEFAULT:
        return kept.Find(UserLocaleName());
    case LOCALE_SYSTEM_DEFAULT:
        return kept.Find(SystemLocaleName());
    default:
        return nullptr;
    }
}

std::string LocaleNameOf(std::string_view settings)
{
    std::string_view found[std::size(Variables)];
    while (!settings.empty())
    {
        std::string_view line = settings.substr(0, settings.find('\n'));
        settings.remove_prefix(std::min(line.size() + 1, settings.size()));
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        const std::size_t equals = line.find('=');
        const auto* const variable = std::find(std::begin(Variables), std::end(Variables), line.substr(0, equals));
        if (equals != std::string_view::npos && variable != std::end(Variables))
        {
            found[variable - std::begin(Variables)] = Unquoted(line.substr(equals + 1));
        }
    }
    const auto* const set = std::find_if(std::begin(found), std::end(found), [](auto value) { return !value.empty(); });
    return set == std::end(found) ? std::string() : std::string(*set);
}

} // namespace Quoll::Platform
