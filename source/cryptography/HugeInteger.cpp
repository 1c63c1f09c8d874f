// The value itself: texts, comparisons, digits.
#include "Quoll/HugeInteger.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace Quoll::Utilities
{

namespace
{

constexpr unsigned int NoPosition = std::numeric_limits<unsigned int>::max();

bool IsDigit(char character) noexcept
{
    return character >= '0' && character <= '9';
}

// By the number of digits, then from the top.
bool IsShorterOrLess(const std::vector<std::int16_t>& a, const std::vector<std::int16_t>& b) noexcept
{
    if (a.size() != b.size())
    {
        return a.size() < b.size();
    }
    return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

HugeInteger FromInt(int value)
{
    HugeInteger number;
    number = value;
    return number;
}

} // namespace

HugeInteger::HugeInteger() = default;

HugeInteger::HugeInteger(unsigned int size)
    : m_blockSize(size)
{
}

HugeInteger::HugeInteger(const HugeInteger& other) = default;

// NOLINTBEGIN(misc-unconventional-assign-operator)

HugeInteger HugeInteger::operator=(const HugeInteger& other)
{
    m_digits = other.m_digits;
    m_blockSize = other.m_blockSize;
    m_positive = other.m_positive;
    return *this;
}

HugeInteger HugeInteger::operator=(int value)
{
    m_positive = value >= 0;
    if (value == 0)
    {
        m_digits.clear();
    }
    else if (value != std::numeric_limits<int>::min())
    {
        FromString(std::to_string(std::abs(value)));
    }
    return *this;
}

// NOLINTEND(misc-unconventional-assign-operator)

bool HugeInteger::operator==(const HugeInteger& other)
{
    return m_positive == other.m_positive && m_digits == other.m_digits;
}

bool HugeInteger::operator==(int value)
{
    return *this == FromInt(value);
}

bool HugeInteger::operator!=(const HugeInteger& other)
{
    return !(*this == other);
}

bool HugeInteger::operator!=(int value)
{
    return !(*this == value);
}

bool HugeInteger::operator<(const HugeInteger& other)
{
    if (m_positive != other.m_positive)
    {
        return !m_positive;
    }
    return m_positive ? IsShorterOrLess(m_digits, other.m_digits) : IsShorterOrLess(other.m_digits, m_digits);
}

bool HugeInteger::operator<(int size)
{
    return *this < HugeInteger(static_cast<unsigned int>(size));
}

bool HugeInteger::operator>(const HugeInteger& other)
{
    if (m_positive != other.m_positive)
    {
        return m_positive;
    }
    if (m_digits.empty() && other.m_digits.empty())
    {
        return true;
    }
    return m_positive ? IsShorterOrLess(other.m_digits, m_digits) : IsShorterOrLess(m_digits, other.m_digits);
}

bool HugeInteger::operator>(int value)
{
    return *this > FromInt(value);
}

HugeInteger HugeInteger::operator+(int value)
{
    return *this + FromInt(value);
}

HugeInteger HugeInteger::operator-(int value)
{
    return *this - FromInt(value);
}

HugeInteger HugeInteger::operator*(int value)
{
    return *this * FromInt(value);
}

HugeInteger HugeInteger::operator/(int value)
{
    return *this / FromInt(value);
}

HugeInteger HugeInteger::operator%(int value)
{
    return *this % FromInt(value);
}

bool HugeInteger::FromString(std::string text)
{
    if (text.empty() || !std::all_of(text.begin(), text.end(), IsDigit))
    {
        return false;
    }
    m_digits.resize(text.size());
    std::transform(text.rbegin(), text.rend(), m_digits.begin(),
                   [](char digit) { return static_cast<std::int16_t>(digit - '0'); });
    return true;
}

bool HugeInteger::getFromString(const std::string& text, unsigned int& position)
{
    if (text.size() > NoPosition)
    {
        throw std::length_error("the text has more than 4294967295 characters");
    }
    const std::size_t begin = position;
    if (begin >= text.size())
    {
        position = NoPosition;
        return false;
    }
    position = text.size() - begin > m_blockSize ? position + m_blockSize : NoPosition;
    return FromString(text.substr(begin, m_blockSize));
}

std::string HugeInteger::ToString()
{
    if (m_digits.empty())
    {
        return "0";
    }
    std::string text(m_positive ? 0 : 1, '-');
    text.reserve(text.size() + m_digits.size());
    for (std::size_t i = m_digits.size(); i-- > 0;)
    {
        text += static_cast<char>('0' + m_digits[i]);
    }
    return text;
}

HugeInteger HugeInteger::abs()
{
    HugeInteger magnitude(*this);
    magnitude.m_positive = true;
    return magnitude;
}

bool HugeInteger::even()
{
    return m_digits.empty() || m_digits.front() % 2 == 0;
}

unsigned int HugeInteger::size() const
{
    return static_cast<unsigned int>(m_digits.size());
}

bool HugeInteger::isAbsBigger(const HugeInteger& other)
{
    return IsShorterOrLess(m_digits, other.m_digits);
}

void HugeInteger::reflect()
{
    std::reverse(m_digits.begin(), m_digits.end());
}

void HugeInteger::removeSpace()
{
    while (!m_digits.empty() && m_digits.back() == 0)
    {
        m_digits.pop_back();
    }
}

void HugeInteger::concat(const HugeInteger& other)
{
    std::vector<std::int16_t> digits;
    digits.reserve(other.m_digits.size() + m_digits.size());
    digits.assign(other.m_digits.begin(), other.m_digits.end());
    digits.insert(digits.end(), m_digits.begin(), m_digits.end());
    m_digits.swap(digits);
}

} // namespace Quoll::Utilities
