// The C library's names and formats, decoded by the locale's own codeset.
#include "LibraryLocale.h"

#include "LocalePictures.h"
#include "core/utf/Transcoder.h"

#include <algorithm>
#include <bit>
#include <cerrno>

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

namespace Quoll::Platform
{

namespace
{

struct Undecodable
{
};

// Whether a call failed for want of something that may be there the next time, so that nothing is
// known of the locale.
bool IsShortage(int error) noexcept
{
    return error == ENOMEM || error == EMFILE || error == ENFILE;
}

void ThrowAtShortage()
{
    const int error = errno;
    if (IsShortage(error))
    {
        throw LocaleShortage{error};
    }
}

class Decoder
{
public:
    explicit Decoder(std::string_view codeset)
    {
        constexpr bool little = std::endian::native == std::endian::little;
        if (codeset != "UTF-8")
        {
            m_conversion = iconv_open(little ? "UTF-16LE" : "UTF-16BE", std::string(codeset).c_str());
            m_open = m_conversion != Closed();
            m_open ? void() : ThrowAtShortage();
            m_open ? void() : throw Undecodable{};
        }
    }
    ~Decoder()
    {
        if (m_open)
        {
            iconv_close(m_conversion);
        }
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    WString Decode(std::string_view text)
    {
        WString wide(text.size(), 0); // every codeset takes a byte at least for a unit
        return m_open ? ByIconv(text, std::move(wide)) : ByTranscoder(text, std::move(wide));
    }

private:
    static iconv_t Closed() noexcept
    {
        return reinterpret_cast<iconv_t>(-1);
    }

    static WString ByTranscoder(std::string_view text, WString wide)
    {
        const Utf::Progress progress = Utf::Decode(text, wide.data(), wide.size());
        progress.outcome == Utf::Outcome::Complete ? wide.resize(progress.written) : throw Undecodable{};
        return wide;
    }

    WString ByIconv(std::string_view text, WString wide)
    {
        char* in = const_cast<char*>(text.data()); // iconv only reads it
        std::size_t inLeft = text.size();
        char* out = reinterpret_cast<char*>(wide.data());
        std::size_t outLeft = wide.size() * sizeof(WChar);
        iconv(m_conversion, nullptr, nullptr, nullptr, nullptr);
        // The second call gives what a decoder holds back, as it might be combined with what follows.
        if (iconv(m_conversion, &in, &inLeft, &out, &outLeft) != 0 ||
            iconv(m_conversion, nullptr, nullptr, &out, &outLeft) != 0)
        {
            throw Undecodable{};
        }
        wide.resize(wide.size() - outLeft / sizeof(WChar));
        return wide;
    }

    iconv_t m_conversion{};
    bool m_open = false;
};

class Reader
{
public:
    explicit Reader(locale_t locale)
        : m_locale(locale)
        , m_decoder(nl_langinfo_l(CODESET, locale))
    {
    }

    LocaleData Read()
    {
        static_assert(DAY_7 == DAY_1 + 6 && ABDAY_7 == ABDAY_1 + 6 && MON_12 == MON_1 + 11 && ABMON_12 == ABMON_1 + 11);
        static_assert(ALTMON_12 == ALTMON_1 + 11 && PM_STR == AM_STR + 1);
        LocaleData data = InvariantLocale();
        ReadNames(data.days, DAY_1);
        ReadNames(data.shortDays, ABDAY_1);
        ReadNames(data.months, MON_1);
        ReadNames(data.monthsAlone, ALTMON_1);
        ReadNames(data.shortMonths, ABMON_1);
        ReadNames(data.halfDays, AM_STR);
        LocalePictures pictures = PicturesOf({Item(D_FMT), Item(T_FMT), Item(T_FMT_AMPM), Item(D_T_FMT)});
        Use(data.shortDate, pictures.shortDate);
        Use(data.longDate, pictures.longDate);
        Use(data.yearMonth, pictures.yearMonth);
        Use(data.time, pictures.time);
        return data;
    }

private:
    WString Item(nl_item item)
    {
        return m_decoder.Decode(nl_langinfo_l(item, m_locale));
    }

    template<class Names>
    void ReadNames(Names& names, nl_item first)
    {
        for (WString& name : names)
        {
            name = Item(first++);
        }
    }

    // What the locale doesn't say stays as the invariant one has it.
    static void Use(WString& target, WString& picture)
    {
        if (!picture.empty())
        {
            target = std::move(picture);
        }
    }

    locale_t m_locale;
    Decoder m_decoder;
};

} // namespace

std::shared_ptr<const LocaleData> ReadLibraryLocale(const std::string& name)
{
    errno = 0; // which a locale that is known to be missing leaves alone
    const locale_t locale = newlocale(LC_CTYPE_MASK | LC_TIME_MASK, name.c_str(), locale_t{});
    if (locale == locale_t{})
    {
        ThrowAtShortage();
        return nullptr;
    }
    const std::unique_ptr<std::remove_pointer_t<locale_t>, decltype(&freelocale)> owner(locale, &freelocale);
    try
    {
        return std::make_shared<const LocaleData>(Reader(locale).Read());
    }
    catch (const Undecodable&)
    {
        return nullptr;
    }
}

} // namespace Quoll::Platform
