#include "Quoll/UtcTime.h"

#include "Quoll/UserLocalFormat.h"
#include "core/CharacterClass.h"
#include "core/NumberScan.h"
#include "core/SecurePrint.h"
#include "core/utf/Transcoder.h"
#include "time/Iso8601.h"
#include "time/LocalTime.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

constexpr std::uint32_t NeutralLocale = 0;
constexpr std::uint32_t UserLocale = 0x400;
constexpr std::uint32_t SystemLocale = 0x800;
constexpr std::uint32_t InvariantLocale = 0x7F;
constexpr std::uint32_t ShortDate = 1;

constexpr std::size_t HexDigits = 8; // of each half

// What a scan for a decimal number takes of the units there; 0 if there is none.
std::uint16_t ReadField(const WString& text, std::size_t first, std::size_t size)
{
    if (text.size() < first)
    {
        throw std::out_of_range("invalid string position");
    }
    const WStringView field = WStringView(text).substr(first, size);
    return static_cast<std::uint16_t>(NumberScanner(field).TakeDecimal().value_or(0));
}

SYSTEMTIME ReadFields(const WString& text)
{
    SYSTEMTIME systemTime{};
    systemTime.wYear = ReadField(text, 0, 4);
    systemTime.wMonth = ReadField(text, 5, 2);
    systemTime.wDay = ReadField(text, 8, 2);
    systemTime.wHour = ReadField(text, 11, 2);
    systemTime.wMinute = ReadField(text, 14, 2);
    systemTime.wSecond = ReadField(text, 17, 2);
    return systemTime;
}

// Reads digits from a place on; remembers if one of them is none.
class DigitReader
{
public:
    explicit DigitReader(const WChar* text) noexcept
        : m_text(text)
    {
    }

    template<std::size_t First, std::size_t Count>
    std::uint16_t Read() noexcept
    {
        unsigned number = 0;
        for (std::size_t i = First; i < First + Count; ++i)
        {
            const unsigned digit = m_text[i] - unsigned{'0'};
            m_areDigits &= digit < 10;
            number = number * 10 + digit;
        }
        return static_cast<std::uint16_t>(number);
    }
    bool AreDigits() const noexcept
    {
        return m_areDigits;
    }

private:
    const WChar* m_text;
    bool m_areDigits = true;
};

// The fields of a text as our own printing makes it, which most are. False for all others.
bool ReadUsualFields(WStringView text, SYSTEMTIME& time) noexcept
{
    if (text.size() != 19 || text[4] != '-' || text[7] != '-' || (text[10] != 'T' && text[10] != ' ') ||
        text[13] != ':' || text[16] != ':')
    {
        return false;
    }
    DigitReader digits(text.data());
    time = {digits.Read<0, 4>(),  digits.Read<5, 2>(),  0, digits.Read<8, 2>(), digits.Read<11, 2>(),
            digits.Read<14, 2>(), digits.Read<17, 2>(), 0};
    return digits.AreDigits();
}

// The digits of two decimal places.
using TwoDigits = std::array<WChar, 2>;
constexpr auto DigitPairs = [] {
    std::array<TwoDigits, 100> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i)
    {
        pairs[i] = {static_cast<WChar>('0' + i / 10), static_cast<WChar>('0' + i % 10)};
    }
    return pairs;
}();

// A number of two decimal places.
void Write(unsigned number, WChar* to) noexcept
{
    std::copy_n(DigitPairs[number].begin(), 2, to);
}

// What the pictures "yyyy'-'MM'-'dd" and "HH:mm:ss" print of a year of four places.
WString PrintIso8601(const SYSTEMTIME& time, WChar separator)
{
    // Begun as a copy of known size, which costs less than filling.
    constexpr auto form = "0000-00-00 00:00:00"_w;
    WString text(form.data(), 19);
    WChar* const to = text.data();
    Write(time.wYear / 100u, to);
    Write(time.wYear % 100u, to + 2);
    Write(time.wMonth, to + 5);
    Write(time.wDay, to + 8);
    to[10] = separator;
    Write(time.wHour, to + 11);
    Write(time.wMinute, to + 14);
    Write(time.wSecond, to + 17);
    return text;
}

// For a message: what is ill-formed becomes U+FFFD.
std::string PrintLeniently(const WString& text)
{
    std::string bytes(Utf::MeasureEncode(text, true).written, '\0');
    Utf::EncodeLenient(text, bytes.data(), bytes.size());
    return bytes;
}

WString PrintHex(const FILETIME& fileTime)
{
    WChar buffer[2 * HexDigits + 1];
    const int length = SecurePrint(buffer, std::size(buffer), PrintTruncated, "%08x%08x"_w, fileTime.dwHighDateTime,
                                   fileTime.dwLowDateTime);
    if (length < 0)
    {
        throw std::runtime_error("Can't creat hex string. Errno: " + std::to_string(errno));
    }
    return {buffer, static_cast<std::size_t>(length)};
}

} // namespace

bool UtcTime::IsISO8601DateTime(const WString& text)
{
    return IsIso8601Text(text);
}

WString UtcTime::ToLocalDateString(LocaleUserAccount locale, bool isLocal) const
{
    return ToLocalDateString(GetSystemTime(isLocal), locale);
}

WString UtcTime::ToLocalTimeString(LocaleUserAccount locale, bool isLocal, unsigned int flags) const
{
    return ToLocalTimeString(GetSystemTime(isLocal), locale, flags);
}

WString UtcTime::ToLocalString(const WString& separator, LocaleUserAccount locale, bool isLocal) const
{
    const SYSTEMTIME systemTime = GetSystemTime(isLocal);
    return ToLocalDateString(systemTime, locale) + separator + ToLocalTimeString(systemTime, locale, 0);
}

WString UtcTime::ToString(const WString& dateFormat, const WString& separator, const WString& timeFormat,
                          bool isLocal) const
{
    const SYSTEMTIME systemTime = GetSystemTime(isLocal);
    WString text = UserLocalFormat::GetFormatDate(systemTime, InvariantLocale, 0, dateFormat);
    text += separator;
    if (!timeFormat.empty())
    {
        text += UserLocalFormat::GetFormatTime(systemTime, InvariantLocale, 0, timeFormat);
    }
    return text;
}

WString UtcTime::ToString(StringValue form, bool isLocal) const
{
    switch (form)
    {
    case StringValue::FileTimeHex:
        return PrintHex(GetFileTime(isLocal));
    case StringValue::Iso8601Blank:
    case StringValue::Iso8601T:
    {
        const WChar separator = form == StringValue::Iso8601T ? 'T' : ' ';
        SYSTEMTIME systemTime;
        ReadSystemTime(m_ticks, isLocal, systemTime);
        return systemTime.wYear < 10000 ? PrintIso8601(systemTime, separator)
                                        : ToString("yyyy'-'MM'-'dd"_w, WString(1, separator), "HH:mm:ss"_w, isLocal);
    }
    default:
        throw std::invalid_argument("unknown argument value");
    }
}

void UtcTime::SetTimeAsFileTimeHex(const WString& text, bool isLocal)
{
    NumberScanner scanner(text);
    const auto high = scanner.TakeHexadecimal(HexDigits);
    const auto low = high ? scanner.TakeHexadecimal(HexDigits) : std::nullopt;
    if (low)
    {
        SetTime(FILETIME{*low, *high}, isLocal);
        return;
    }
    if (text.empty())
    {
        throw std::invalid_argument("Can't convert empty hex value to utc object");
    }
    throw std::invalid_argument("Can't convert value: " + PrintLeniently(text) + " to utc object");
}

void UtcTime::SetTimeAsISO8601(const WString& text, bool isLocal)
{
    SYSTEMTIME systemTime;
    if (ReadUsualFields(text, systemTime))
    {
        SetTime(systemTime, isLocal);
        return;
    }
    if (!IsIso8601Text(text))
    {
        throw std::invalid_argument("Is not a valid ISO8601 string");
    }
    SetTime(ReadFields(text), isLocal);
}

WString UtcTime::ToLocalDateString(const SYSTEMTIME& systemTime, LocaleUserAccount locale)
{
    return UserLocalFormat::GetFormatDate(systemTime, GetLocale(locale), ShortDate, {});
}

WString UtcTime::ToLocalTimeString(const SYSTEMTIME& systemTime, LocaleUserAccount locale, unsigned int flags)
{
    return UserLocalFormat::GetFormatTime(systemTime, GetLocale(locale), flags, {});
}

std::uint32_t UtcTime::GetLocale(LocaleUserAccount locale)
{
    switch (locale)
    {
    case LocaleUserAccount::LocaleNeutral:
        return NeutralLocale;
    case LocaleUserAccount::LocaleSystem:
        return SystemLocale;
    case LocaleUserAccount::LocaleUser:
        return UserLocale;
    case LocaleUserAccount::LocaleInvariant:
        return InvariantLocale;
    default:
        throw std::runtime_error("Invalid locale account information");
    }
}

} // namespace Quoll::Utilities
