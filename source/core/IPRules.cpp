#include "Quoll/IPRules.h"
#include "core/CharacterClass.h"

#include <algorithm>

namespace Quoll::Utilities
{

namespace
{

// What stands up to the first NUL, cut at each delimiter; empty parts are skipped.
class Parts
{
public:
    Parts(WStringView text, WChar delimiter) noexcept
        : m_rest(text.substr(0, text.find(WChar{0})))
        , m_delimiter(delimiter)
    {
    }

    // False behind the last part.
    bool Next(WStringView& part) noexcept
    {
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(m_delimiter), m_rest.size()));
        part = m_rest.substr(0, m_rest.find(m_delimiter));
        m_rest.remove_prefix(part.size());
        return !part.empty();
    }

private:
    WStringView m_rest;
    WChar m_delimiter;
};

// Takes white space and a sign from the front; whether it is a minus.
bool TakeSign(WStringView& number) noexcept
{
    const auto begin = std::find_if_not(number.begin(), number.end(), IsSpace);
    number.remove_prefix(static_cast<std::size_t>(begin - number.begin()));
    const WChar sign = number.empty() ? WChar{0} : number[0];
    number.remove_prefix(sign == '+' || sign == '-' ? 1 : 0);
    return sign == '-';
}

// The value of the decimal digits in front, or some value above the limit.
unsigned ReadDecimal(WStringView digits, unsigned limit) noexcept
{
    unsigned value = 0;
    for (std::size_t at = 0; at < digits.size() && IsDigit(digits[at]) && value <= limit; ++at)
    {
        value = value * 10 + static_cast<unsigned>(digits[at] - '0');
    }
    return value;
}

// A value too large for an integer reads as the largest or smallest one, so the sign tells it all.
bool IsNegativeHex(WStringView number) noexcept
{
    if (!TakeSign(number))
    {
        return false;
    }
    if (number.size() > 1 && number[0] == '0' && ToLowerAscii(number[1]) == 'x')
    {
        number.remove_prefix(2);
    }
    const std::size_t digit = number.find_first_not_of(WChar{'0'});
    return digit != WStringView::npos && IsHexDigit(number[digit]);
}

} // namespace

bool IPRules::isValidIPv4(WStringView text) noexcept
{
    constexpr unsigned largest = 255;
    if (std::count(text.begin(), text.end(), WChar{'.'}) != 3)
    {
        return false;
    }
    Parts parts(text, '.');
    int count = 0;
    for (WStringView part; parts.Next(part); ++count)
    {
        const bool minus = TakeSign(part);
        const unsigned value = ReadDecimal(part, largest);
        if (value > largest || (minus && value > 0) || (count == 0 && value == 0))
        {
            return false;
        }
    }
    return count == 4;
}

bool IPRules::isValidIPv6(WStringView text) noexcept
{
    if (text.empty() || std::count(text.begin(), text.end(), WChar{':'}) >= 8)
    {
        return false;
    }
    Parts parts(text, ':');
    for (WStringView part; parts.Next(part);)
    {
        if (std::none_of(part.begin(), part.end(), IsHexDigit) || IsNegativeHex(part))
        {
            return false;
        }
    }
    return true;
}

} // namespace Quoll::Utilities
