// The C library's formats are taken apart into fields and the text between them. A short date and a time are
// all that stands in D_FMT and T_FMT; a long date is D_T_FMT without the time and with whole names, year and
// month are that without the day.
//
// A field that is left out takes the text beside it along: what stands before the first field and
// behind the last stays, as does a word that follows a field at once.
#include "LocalePictures.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Quoll::Platform
{

namespace
{

enum class Part : std::uint8_t
{
    Text,
    Weekday,
    Day,
    Month,
    Year,
    Time,
    Unknown // conversions that pictures don't have
};

struct Field
{
    Part part = Part::Text;
    WString picture; // or the text
};

using Fields = std::vector<Field>;

// Formats refer to each other; real ones no oftener than this.
constexpr int MaxReferences = 16;
constexpr WStringView Blanks = " \t\n\u00A0\u202F"_w;

Field SimpleField(WChar conversion, bool unpadded)
{
    switch (conversion)
    {
    case 'a':
        return {Part::Weekday, "ddd"_w};
    case 'A':
        return {Part::Weekday, "dddd"_w};
    case 'b':
    case 'h':
        return {Part::Month, "MMM"_w};
    case 'B':
        return {Part::Month, "MMMM"_w};
    case 'd':
        return {Part::Day, unpadded ? "d"_w : "dd"_w};
    case 'e':
        return {Part::Day, "d"_w};
    case 'm':
        return {Part::Month, unpadded ? "M"_w : "MM"_w};
    case 'y':
        return {Part::Year, "yy"_w};
    case 'Y':
    case 'G':
        return {Part::Year, "yyyy"_w};
    case 'H':
        return {Part::Time, unpadded ? "H"_w : "HH"_w};
    case 'k':
        return {Part::Time, "H"_w};
    case 'I':
        return {Part::Time, unpadded ? "h"_w : "hh"_w};
    case 'l':
        return {Part::Time, "h"_w};
    case 'M':
        return {Part::Time, unpadded ? "m"_w : "mm"_w};
    case 'S':
        return {Part::Time, unpadded ? "s"_w : "ss"_w};
    case 'p':
    case 'P':
        return {Part::Time, "tt"_w};
    default:
        return {Part::Unknown, {}};
    }
}

class Splitter
{
public:
    explicit Splitter(const LibraryFormats& formats) noexcept
        : m_formats(formats)
    {
    }

    Fields Split(WStringView format)
    {
        Add(format);
        return std::move(m_fields);
    }

private:
    void Add(WStringView format)
    {
        while (!format.empty())
        {
            const std::size_t text = std::min(format.find('%'), format.size());
            AddText(format.substr(0, text));
            format.remove_prefix(text);
            if (!format.empty())
            {
                AddConversion(format);
            }
        }
    }

    void AddText(WStringView text)
    {
        if (m_fields.empty() || m_fields.back().part != Part::Text)
        {
            m_fields.emplace_back();
        }
        m_fields.back().picture.append(text);
    }

    // Moves the format behind the conversion.
    void AddConversion(WStringView& format)
    {
        const std::size_t flags = std::min(format.find_first_not_of("_-0^#+123456789"_w, 1), format.size());
        const bool unpadded = format.substr(0, flags).find_first_of("-_"_w) != WStringView::npos;
        const std::size_t end = std::min(format.find_first_not_of("EO"_w, flags), format.size());
        const bool ofEra = format.substr(flags, end - flags).find('E') != WStringView::npos;
        WChar conversion = end < format.size() ? format[end] : WChar{0};
        conversion = ofEra && conversion == 'y' ? WChar{'Y'} : conversion; // a year of another calendar is whole
        format.remove_prefix(std::min(end + 1, format.size()));
        const WStringView inner = Referred(conversion);
        if (!inner.empty())
        {
            ++m_references <= MaxReferences ? Add(inner) : void();
        }
        else if (conversion == '%' || conversion == 'n' || conversion == 't')
        {
            AddText(conversion == '%' ? "%"_w : " "_w);
        }
        else
        {
            m_fields.push_back(SimpleField(conversion, unpadded));
        }
    }

    WStringView Referred(WChar conversion) const noexcept
    {
        switch (conversion)
        {
        case 'c':
            return m_formats.dateAndTime;
        case 'D':
            return "%m/%d/%y"_w;
        case 'F':
            return "%Y-%m-%d"_w;
        case 'R':
            return "%H:%M"_w;
        case 'r':
            return m_formats.timeOfHalf.empty() ? "%I:%M:%S %p"_w : WStringView(m_formats.timeOfHalf);
        case 'T':
            return "%H:%M:%S"_w;
        case 'x':
            return m_formats.date;
        case 'X':
            return m_formats.time;
        default:
            return {};
        }
    }

    const LibraryFormats& m_formats;
    Fields m_fields;
    int m_references = 0;
};

// Text as a picture has it: quoted where letters could be taken for parts.
void AppendText(WString& picture, WStringView text)
{
    const bool plain = std::none_of(text.begin(), text.end(), [](WChar unit) {
        return unit == '\'' || (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
    });
    if (plain)
    {
        picture.append(text);
        return;
    }
    picture.push_back('\'');
    for (const WChar unit : text)
    {
        picture.append(unit == '\'' ? 2 : 1, unit);
    }
    picture.push_back('\'');
}

// The word that a text begins with, without punctuation.
WStringView AttachedWord(WStringView text) noexcept
{
    const auto end = std::find_if(text.begin(), text.end(), [](WChar unit) {
        return Blanks.find(unit) != WStringView::npos || (unit < 0x80 && "()[]"_w.find(unit) == WStringView::npos);
    });
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

template<class IsWanted>
WString Compose(const Fields& fields, IsWanted isWanted)
{
    WString picture;
    bool gap = false; // fields were left out behind the last one
    for (std::size_t i = 0; i < fields.size(); ++i)
    {
        const Field& field = fields[i];
        if (field.part != Part::Text)
        {
            const bool wanted = isWanted(field.part);
            if (wanted && gap && !picture.empty() && Blanks.find(picture.back()) == WStringView::npos)
            {
                picture.push_back(' ');
            }
            picture.append(wanted ? field.picture : WString());
            gap = !wanted;
            continue;
        }
        const bool afterWanted = !gap;
        const bool beforeWanted = i + 1 == fields.size() || isWanted(fields[i + 1].part);
        if (afterWanted)
        {
            AppendText(picture, beforeWanted ? WStringView(field.picture) : AttachedWord(field.picture));
        }
    }
    while (!picture.empty() && Blanks.find(picture.back()) != WStringView::npos)
    {
        picture.pop_back();
    }
    return picture;
}

bool Has(const Fields& fields, Part part) noexcept
{
    return std::any_of(fields.begin(), fields.end(), [part](const Field& field) { return field.part == part; });
}

bool HasPicture(const Fields& fields, WStringView picture) noexcept
{
    return std::any_of(fields.begin(), fields.end(), [picture](const Field& field) {
        return field.part == Part::Time && field.picture.substr(0, 1) == picture;
    });
}

void UseWholeNames(Fields& fields)
{
    for (Field& field : fields)
    {
        if (field.picture == "ddd"_w || field.picture == "MMM"_w)
        {
            field.picture.push_back(field.picture.front());
        }
    }
}

bool IsDate(Part part) noexcept
{
    return part == Part::Weekday || part == Part::Day || part == Part::Month || part == Part::Year;
}

// Words between the parts of a time can't go with their part when seconds are left out.
bool HasWords(const Fields& fields) noexcept
{
    return std::any_of(fields.begin(), fields.end(), [](const Field& field) {
        const auto isWord = [](WChar unit) {
            return Blanks.find(unit) == WStringView::npos && ":.-,/ "_w.find(unit) == WStringView::npos;
        };
        return field.part == Part::Text && std::any_of(field.picture.begin(), field.picture.end(), isWord);
    });
}

WString TimePicture(const Fields& fields)
{
    const bool hours = HasPicture(fields, "H"_w) || (HasPicture(fields, "h"_w) && HasPicture(fields, "t"_w));
    const bool usable = hours && HasPicture(fields, "m"_w) && !HasWords(fields);
    return usable ? Compose(fields, [](Part part) { return part == Part::Time; }) : WString();
}

WString DatePicture(const Fields& fields)
{
    const bool whole = Has(fields, Part::Day) && Has(fields, Part::Month) && Has(fields, Part::Year);
    return whole ? Compose(fields, IsDate) : WString();
}

} // namespace

LocalePictures PicturesOf(const LibraryFormats& formats)
{
    LocalePictures pictures;
    pictures.shortDate = DatePicture(Splitter(formats).Split(formats.date));
    pictures.time = TimePicture(Splitter(formats).Split(formats.time));

    Fields fields = Splitter(formats).Split(formats.dateAndTime);
    UseWholeNames(fields);
    pictures.longDate = DatePicture(fields);
    if (!pictures.longDate.empty())
    {
        pictures.yearMonth = Compose(fields, [](Part part) { return part == Part::Month || part == Part::Year; });
    }
    return pictures;
}

} // namespace Quoll::Platform
