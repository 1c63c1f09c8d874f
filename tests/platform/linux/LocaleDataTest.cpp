// What Linux makes of the C library's locales.
#include "platform/linux/LocaleData.h"
#include "platform/linux/LocalePictures.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <thread>

#include <locale.h>
#include <sys/resource.h>

namespace
{

using namespace Quoll;
using namespace Quoll::Literals;

TEST(LocaleData, PicturesComeFromTheLibrarysFormats)
{
    struct Row
    {
        Platform::LibraryFormats formats; // date, time, time of half a day, date and time
        Platform::LocalePictures pictures;
    };
    const Row rows[] = {
        {{"%d.%m.%Y"_w, "%T"_w, ""_w, "%a %d %b %Y %T %Z"_w},
         {"dd.MM.yyyy"_w, "dddd dd MMMM yyyy"_w, "MMMM yyyy"_w, "HH:mm:ss"_w}},
        {{"%m/%d/%Y"_w, "%r"_w, "%I:%M:%S %p"_w, "%a %d %b %Y %r %Z"_w},
         {"MM/dd/yyyy"_w, "dddd dd MMMM yyyy"_w, "MMMM yyyy"_w, "hh:mm:ss tt"_w}},
        {{"%x"_w, "%X"_w, "%r"_w, "%c"_w}, {}}, // they refer to themselves
        {{"%Y\u5E74%m\u6708%d\u65E5"_w, "%H\u6642%M\u5206%S\u79D2"_w, ""_w, "%Y\u5E74%m\u6708%d\u65E5 %H\u6642"_w},
         {"yyyy\u5E74MM\u6708dd\u65E5"_w, "yyyy\u5E74MM\u6708dd\u65E5"_w, "yyyy\u5E74MM\u6708"_w, {}}},
        {{"%D"_w, "%l.%M %P"_w, ""_w, "%H:%M %b %e, %Ey o'clock it's"_w},
         {"MM/dd/yy"_w, "MMMM d, yyyy' o''clock it''s'"_w, "MMMM yyyy' o''clock it''s'"_w, "h.mm tt"_w}},
        {{"%-d. %-m. %Oy"_w, "%I:%M"_w, ""_w, "%A, %B %Y"_w}, {"d. M. yy"_w, {}, {}, {}}}, // no mark, no day
        {{"%"_w, "%E"_w, "%5"_w, "%_"_w}, {}},
    };
    for (const Row& row : rows)
    {
        const auto pictures = Platform::PicturesOf(row.formats);
        EXPECT_EQ(pictures.shortDate, row.pictures.shortDate);
        EXPECT_EQ(pictures.longDate, row.pictures.longDate);
        EXPECT_EQ(pictures.yearMonth, row.pictures.yearMonth);
        EXPECT_EQ(pictures.time, row.pictures.time);
    }
}

TEST(LocaleData, TheSystemsLocaleStandsInItsSettings)
{
    EXPECT_EQ(Platform::LocaleNameOf(""), "");
    EXPECT_EQ(Platform::LocaleNameOf("# LANG=a\n LANG=de_DE.UTF-8 \r\nXLANG=b\nLANG"), "de_DE.UTF-8");
    EXPECT_EQ(Platform::LocaleNameOf("LC_ALL=\nLC_TIME='c'\nLANG=\"a\""), "c");
    EXPECT_EQ(Platform::LocaleNameOf("LANG=a\nLANG=\"b\n"), "\"b");
}

class Variable
{
public:
    Variable(const char* name, const char* value)
        : m_name(name)
    {
        const char* const before = std::getenv(name);
        m_before = before ? std::optional<std::string>(before) : std::nullopt;
        setenv(name, value, 1);
    }
    ~Variable()
    {
        m_before ? setenv(m_name, m_before->c_str(), 1) : unsetenv(m_name);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_before;
};

TEST(LocaleData, FollowsTheEnvironment)
{
    for (const char* const name : {"C", "POSIX", "C.UTF-8", "xx_XX.UTF-8", "/etc/passwd", "../../etc"})
    {
        const Variable all("LC_ALL", name);
        EXPECT_EQ(Platform::FindLocale(LOCALE_USER_DEFAULT)->longDate, "dddd, dd MMMM yyyy"_w) << name;
    }
    const Variable none("LC_ALL", "");
    const Variable language("LANG", "C");
    for (const char* const name : {"de_DE.UTF-8", "de_DE.ISO-8859-1"})
    {
        const locale_t locale = newlocale(LC_ALL_MASK, name, locale_t{});
        if (locale == locale_t{})
        {
            GTEST_SKIP() << "not installed here: " << name;
        }
        freelocale(locale);
        const Variable time("LC_TIME", name);
        const auto german = Platform::FindLocale(LOCALE_NEUTRAL);
        EXPECT_EQ(german->months[2], "M\u00E4rz"_w);
        EXPECT_EQ(german->days[0], "Sonntag"_w);
        EXPECT_EQ(german->shortDate, "dd.MM.yyyy"_w);
        EXPECT_EQ(german->time, "HH:mm:ss"_w);
        EXPECT_EQ(Platform::FindLocale(LOCALE_INVARIANT)->months[2], "March"_w);
    }
    EXPECT_EQ(Platform::FindLocale(LOCALE_NEUTRAL)->months[2], "March"_w);
}

TEST(LocaleData, AWantOfDescriptorsIsNoMissingLocale)
{
    const Variable all("LC_ALL", "qq_QQ.UTF-8");
    const auto measure = [] {
        return GetDateFormatW(LOCALE_USER_DEFAULT, DATE_LONGDATE, nullptr, nullptr, nullptr, 0);
    };
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const int without = measure();
    const DWORD code = GetLastError();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(without, 0);
    EXPECT_EQ(code, ERROR_TOO_MANY_OPEN_FILES);
    EXPECT_GT(measure(), 10);
}

TEST(LocaleData, ThreadsShareWhatWasRead)
{
    const auto formatOften = [] {
        for (int i = 0; i < 300; ++i)
        {
            const LCID locale = i % 2 == 0 ? LOCALE_USER_DEFAULT : LOCALE_SYSTEM_DEFAULT;
            EXPECT_GT(GetDateFormatW(locale, DATE_LONGDATE, nullptr, nullptr, nullptr, 0), 10);
        }
    };
    std::thread other(formatOften);
    formatOften();
    other.join();
}

} // namespace
