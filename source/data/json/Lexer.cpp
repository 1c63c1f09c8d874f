#include "Quoll/JsonReader.h"
#include "data/json/Numbers.h"
#include "data/json/TokenScan.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Quoll::Json
{

void Lexer::SetReadLine(ReadLine readLine)
{
    m_readLine = std::move(readLine);
}

bool Lexer::HasError() const noexcept
{
    return m_hasError;
}

bool Lexer::CheckChar(WChar unit)
{
    if (!ReadLineIfEmpty() || m_position >= m_line.size() || m_line[m_position] != unit)
    {
        return false;
    }
    ++m_position;
    return true;
}

void Lexer::GetChar(WChar unit)
{
    if (!CheckChar(unit))
    {
        m_hasError = true;
    }
}

bool Lexer::CheckString(WStringView text)
{
    if (!ReadLineIfEmpty() || m_position > m_line.size() || !WStringView(m_line).substr(m_position).starts_with(text))
    {
        return false;
    }
    m_position += text.size();
    return true;
}

bool Lexer::CheckQuotedString(WString& text)
{
    if (!ReadLineIfEmpty() || m_position >= m_line.size() || m_line[m_position] != '"')
    {
        return false;
    }
    text = GetQuotedString();
    return !std::exchange(m_hasError, false);
}

WString Lexer::GetQuotedString()
{
    GetChar('"');
    if (m_hasError)
    {
        return {};
    }
    const WChar* const begin = m_line.data() + m_position;
    const WChar* const end = FindClosingQuote(begin, GetLineEnd()).end;
    if (end == nullptr)
    {
        m_hasError = true;
        return {};
    }
    m_position += static_cast<std::size_t>(end - begin) + 1;
    return WString(begin, end);
}

WString Lexer::GetStringUntil(WChar unit)
{
    if (!ReadLineIfEmpty() || m_position >= m_line.size())
    {
        return {};
    }
    const std::size_t begin = m_position;
    const std::size_t end = std::min(m_line.find(unit, begin), m_line.size());
    m_position = std::min(end + 1, m_line.size());
    return m_line.substr(begin, end - begin);
}

bool Lexer::CheckInteger(IntegerToken& token)
{
    if (!ReadLineIfEmpty() || m_position >= m_line.size())
    {
        return false;
    }
    const WChar* const begin = m_line.data() + m_position;
    const WChar* const end = SkipInteger(begin, GetLineEnd());
    if (end == begin)
    {
        return false;
    }
    m_position += static_cast<std::size_t>(end - begin);
    token = IntegerToken(WString(begin, end));
    return true;
}

bool Lexer::CheckInteger(int& value)
{
    IntegerToken token;
    if (!CheckInteger(token))
    {
        return false;
    }
    const DecimalNumber number = ReadDecimal(token.GetText());
    using Limits = std::numeric_limits<int>;
    value = ToInt32(number).value_or(number.isNegative ? Limits::min() : Limits::max());
    return true;
}

IntegerToken Lexer::GetInteger()
{
    IntegerToken token{WString()};
    m_hasError = !CheckInteger(token);
    return token;
}

bool Lexer::CheckJsonBoolean(BooleanToken& token)
{
    for (const bool value : {true, false})
    {
        const BooleanToken candidate(value);
        if (CheckString(candidate.GetText()))
        {
            token = candidate;
            return true;
        }
    }
    return false;
}

void Lexer::InitializeReader(const WString& text)
{
    SetReadLine([text](WString& line) {
        if (!line.empty())
        {
            return false;
        }
        line = text;
        return true;
    });
    m_line.clear();
    m_position = 0;
    m_lastSkipPosition = static_cast<std::size_t>(-1);
    m_hasError = false;
}

// Whether there is something to take a token from.
bool Lexer::ReadLineIfEmpty()
{
    if (m_hasError)
    {
        return false;
    }
    if (m_noSkip || m_lastSkipPosition == m_position)
    {
        return true;
    }
    SkipSpaceFrom(m_position);
    if (m_position < m_line.size())
    {
        m_lastSkipPosition = m_position;
        return true;
    }
    if (!m_readLine(m_line))
    {
        m_position = m_line.size();
        return false;
    }
    SkipSpaceFrom(0);
    return m_position < m_line.size();
}

void Lexer::SkipSpaceFrom(std::size_t position) noexcept
{
    const WChar* const begin = m_line.data();
    m_position = static_cast<std::size_t>(SkipSpace(begin + std::min(position, m_line.size()), GetLineEnd()) - begin);
}

const WChar* Lexer::GetLineEnd() const noexcept
{
    return m_line.data() + m_line.size();
}

} // namespace Quoll::Json
