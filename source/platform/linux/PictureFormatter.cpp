// A picture is read as pieces: a run of one of its letters, or text that stands as it is.
#include "PictureFormatter.h"

#include "Calendar.h"

#include <algorithm>

namespace Quoll::Platform
{

namespace
{

constexpr WStringView DateLetters = "dMyg"_w;
constexpr WStringView TimeLetters = "hHmst"_w;

struct Piece
{
    WChar letter = 0; // 0: text that stands as it is
    std::size_t count = 0;
    WStringView text;
};

class PictureReader
{
public:
    PictureReader(WStringView picture, WStringView letters) noexcept
        : m_rest(picture)
        , m_letters(letters)
    {
    }

    // False at the end of the picture.
    bool Next(Piece& piece) noexcept
    {
        piece = {};
        while (!m_rest.empty() && piece.count == 0)
        {
            if (m_quoted || m_rest.front() == '\'')
            {
                piece.text = Quoted();
                piece.count = piece.text.size();
            }
            else if (m_letters.find(m_rest.front()) != WStringView::npos)
            {
                piece.letter = m_rest.front();
                piece.count = Take(m_rest.find_first_not_of(piece.letter)).size();
            }
            else
            {
                piece.text = Take(PlainLength());
                piece.count = piece.text.size();
            }
        }
        return piece.count != 0;
    }

private:
    WStringView Take(std::size_t count) noexcept
    {
        const WStringView taken = m_rest.substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    // Quoted text up to the next quote; with it, if that is a doubled one.
    WStringView Quoted() noexcept
    {
        if (!m_quoted)
        {
            Take(1);
            m_quoted = true;
        }
        const std::size_t end = std::min(m_rest.find('\''), m_rest.size());
        const bool doubled = m_rest.size() - end > 1 && m_rest[end + 1] == '\'';
        const WStringView text = Take(doubled ? end + 1 : end);
        Take(1);
        m_quoted = doubled;
        return text;
    }

    std::size_t PlainLength() const noexcept
    {
        std::size_t length = 0;
        while (length < m_rest.size() && m_rest[length] != '\'' && m_letters.find(m_rest[length]) == WStringView::npos)
        {
            ++length;
        }
        return length;
    }

    WStringView m_rest;
    WStringView m_letters;
    bool m_quoted = false;
};

void AppendNumber(WString& text, unsigned value, std::size_t width)
{
    const std::size_t begin = text.size();
    do
    {
        text.push_back(static_cast<WChar>('0' + value % 10));
        value /= 10;
    } while (value != 0 || text.size() - begin < width);
    std::reverse(text.begin() + static_cast<std::ptrdiff_t>(begin), text.end());
}

class DateFormatter
{
public:
    DateFormatter(const SYSTEMTIME& date, const LocaleData& locale) noexcept
        : m_date(date)
        , m_locale(locale)
        , m_month(date.wMonth - 1u)
        , m_weekday(DayOfWeek(ToDays({.year = date.wYear, .month = date.wMonth, .day = date.wDay})))
    {
    }

    WString Format(WStringView picture)
    {
        const bool beside = HasDay(picture);
        PictureReader reader(picture, DateLetters);
        for (Piece piece; reader.Next(piece);)
        {
            piece.letter == 0 ? m_text.append(piece.text) : AppendPart(piece, beside);
        }
        return std::move(m_text);
    }

private:
    static bool HasDay(WStringView picture) noexcept
    {
        PictureReader reader(picture, DateLetters);
        for (Piece piece; reader.Next(piece);)
        {
            if (piece.letter == 'd' && piece.count <= 2)
            {
                return true;
            }
        }
        return false;
    }

    WString& AppendPart(const Piece& piece, bool besideDay)
    {
        switch (piece.letter)
        {
        case 'd':
            return AppendNameOr(m_date.wDay, piece.count, m_locale.shortDays[m_weekday], m_locale.days[m_weekday]);
        case 'M':
            return AppendNameOr(m_date.wMonth, piece.count, m_locale.shortMonths[m_month],
                                besideDay ? m_locale.months[m_month] : m_locale.monthsAlone[m_month]);
        case 'y':
            AppendYear(piece.count);
            return m_text;
        default:
            return m_text.append(m_locale.era);
        }
    }

    WString& AppendNameOr(unsigned number, std::size_t count, const WString& shortName, const WString& name)
    {
        if (count <= 2)
        {
            AppendNumber(m_text, number, count);
            return m_text;
        }
        return m_text.append(count == 3 ? shortName : name);
    }

    void AppendYear(std::size_t count)
    {
        const unsigned year = m_date.wYear;
        AppendNumber(m_text, count == 1 ? year % 10 : count == 2 ? year % 100 : year, count == 2 ? 2 : 1);
    }

    const SYSTEMTIME& m_date;
    const LocaleData& m_locale;
    unsigned m_month;
    unsigned m_weekday;
    WString m_text;
};

class TimeFormatter
{
public:
    TimeFormatter(const SYSTEMTIME& time, DWORD flags, const LocaleData& locale) noexcept
        : m_time(time)
        , m_flags(flags)
        , m_locale(locale)
    {
    }

    WString Format(WStringView picture)
    {
        PictureReader reader(picture, TimeLetters);
        for (Piece piece; reader.Next(piece);)
        {
            if (piece.letter == 0)
            {
                m_text.append(m_skipText ? WStringView() : piece.text);
                continue;
            }
            m_skipText = IsLeftOut(piece.letter) && piece.letter == 't';
            if (IsLeftOut(piece.letter))
            {
                m_text.resize(m_keptLength); // with the text before it
                continue;
            }
            AppendPart(piece.letter, std::min<std::size_t>(piece.count, 2));
            m_keptLength = m_text.size();
        }
        return std::move(m_text);
    }

private:
    bool IsLeftOut(WChar letter) const noexcept
    {
        switch (letter)
        {
        case 'm':
            return (m_flags & TIME_NOMINUTESORSECONDS) != 0;
        case 's':
            return (m_flags & (TIME_NOMINUTESORSECONDS | TIME_NOSECONDS)) != 0;
        case 't':
            return (m_flags & TIME_NOTIMEMARKER) != 0;
        default:
            return false;
        }
    }

    void AppendPart(WChar letter, std::size_t width)
    {
        switch (letter)
        {
        case 'h':
            AppendNumber(m_text, Hour(), width);
            break;
        case 'H':
            AppendNumber(m_text, m_time.wHour, width);
            break;
        case 'm':
            AppendNumber(m_text, m_time.wMinute, width);
            break;
        case 's':
            AppendNumber(m_text, m_time.wSecond, width);
            break;
        default:
            AppendMark(width);
            break;
        }
    }

    unsigned Hour() const noexcept
    {
        if ((m_flags & TIME_FORCE24HOURFORMAT) != 0)
        {
            return m_time.wHour;
        }
        return m_time.wHour % 12 == 0 ? 12u : m_time.wHour % 12u;
    }

    void AppendMark(std::size_t width)
    {
        const WString& mark = m_locale.halfDays[m_time.wHour / 12];
        const bool pair = !mark.empty() && mark[0] >= 0xD800 && mark[0] <= 0xDBFF;
        const std::size_t first = pair ? 2 : 1;
        m_text.append(mark, 0, width == 1 ? first : WString::npos);
    }

    const SYSTEMTIME& m_time;
    DWORD m_flags;
    const LocaleData& m_locale;
    WString m_text;
    std::size_t m_keptLength = 0; // up to the last part that wasn't left out
    bool m_skipText = false;
};

} // namespace

WString FormatDatePicture(WStringView picture, const SYSTEMTIME& date, const LocaleData& locale)
{
    return DateFormatter(date, locale).Format(picture);
}

WString FormatTimePicture(WStringView picture, const SYSTEMTIME& time, DWORD flags, const LocaleData& locale)
{
    return TimeFormatter(time, flags, locale).Format(picture);
}

} // namespace Quoll::Platform
