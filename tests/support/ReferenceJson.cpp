#include "support/ReferenceJson.h"

#include "core/CharacterClass.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace Quoll::Tests
{

using namespace Json;
using namespace Literals;

namespace
{

constexpr WideLiteral EscapeLetters = "\\\"rnftb/"_w;
constexpr WideLiteral EscapedCharacters = "\\\"\r\n\f\t\b/"_w;

// The number that a parser of base 16 finds in the units, which ends at the first foreign one.
unsigned ParseHexadecimal(WStringView units)
{
    std::size_t at = 0;
    while (at < units.size() && Utilities::IsSpace(units[at]))
    {
        ++at;
    }
    const bool isNegative = units.substr(at).starts_with('-');
    at += isNegative || units.substr(at).starts_with('+') ? 1 : 0;
    const auto isDigit = [&](std::size_t position) {
        return position < units.size() && Utilities::IsHexDigit(units[position]);
    };
    const WStringView prefix = units.substr(at, 2);
    if ((prefix == "0x"_w || prefix == "0X"_w) && isDigit(at + 2))
    {
        at += 2;
    }
    if (!isDigit(at))
    {
        throw std::invalid_argument("invalid stoul argument");
    }
    std::string digits;
    for (; isDigit(at); ++at)
    {
        digits.push_back(static_cast<char>(units[at]));
    }
    const auto value = static_cast<unsigned>(std::stoul(digits, nullptr, 16));
    return isNegative ? 0 - value : value;
}

WString Unescape(WStringView text)
{
    WString result;
    bool isPending = false;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        const WChar unit = text[at];
        if (!isPending)
        {
            isPending = unit == '\\';
            result.append(isPending ? 0 : 1, unit);
            continue;
        }
        isPending = false;
        if (const std::size_t index = EscapeLetters.find(unit); index != WStringView::npos)
        {
            result.push_back(EscapedCharacters[index]);
        }
        else if (unit == 'u' && text.size() - at - 1 >= 4)
        {
            result.push_back(static_cast<WChar>(ParseHexadecimal(text.substr(at + 1, 4)) & 0xFFFF));
            at += 4;
        }
    }
    return result;
}

class ReferenceReader
{
public:
    ReferenceReader(WStringView text, bool allowDuplicates, int maxDepth)
        : m_lexer([text](WString& line) {
            const bool isFirst = line.empty();
            line = isFirst ? WString(text) : line;
            return isFirst;
        })
        , m_allowDuplicates(allowDuplicates)
        , m_room(maxDepth)
    {
    }

    std::shared_ptr<DataObject> Read()
    {
        m_lexer.GetChar('{');
        auto object = ParseObject();
        m_lexer.GetChar('}');
        return m_lexer.HasError() ? nullptr : object;
    }

private:
    std::shared_ptr<DataObject> ParseObject()
    {
        if (--m_room < 0)
        {
            throw TooDeep("nested too deep");
        }
        auto object = std::make_shared<DataObject>();
        for (WString key; m_lexer.CheckQuotedString(key);)
        {
            ParseValue(*object, Unescape(key));
            if (!m_lexer.CheckChar(','))
            {
                break;
            }
        }
        ++m_room;
        return object;
    }

    void ParseValue(DataObject& object, const WString& key)
    {
        if (!m_allowDuplicates && object.Contains(key))
        {
            throw std::runtime_error("Duplicate attribute");
        }
        m_lexer.GetChar(':');
        WString text;
        IntegerToken integer;
        BooleanToken boolean;
        if (m_lexer.CheckChar('{'))
        {
            object.SetObject(key, ParseObject());
            m_lexer.GetChar('}');
        }
        else if (m_lexer.CheckChar('['))
        {
            ParseArray(object.GetValue(key));
            m_lexer.GetChar(']');
        }
        else if (m_lexer.CheckQuotedString(text))
        {
            object.SetValue(key, Unescape(text));
        }
        else if (m_lexer.CheckInteger(integer))
        {
            object.SetIntValue(key, integer);
        }
        else if (m_lexer.CheckJsonBoolean(boolean))
        {
            object.SetBooleanValue(key, boolean);
        }
        else if (m_lexer.CheckString("null"_w))
        {
            object.SetNullValue(key);
        }
    }

    void ParseArray(DataValue& value)
    {
        bool hasElement = false;
        do
        {
            hasElement = ParseElement(value) || hasElement;
        } while (m_lexer.CheckChar(','));
        if (!hasElement)
        {
            value.AddEmptyArray();
        }
    }

    bool ParseElement(DataValue& value)
    {
        WString text;
        IntegerToken integer;
        BooleanToken boolean;
        if (m_lexer.CheckQuotedString(text))
        {
            value.AddStringValue(Unescape(text));
        }
        else if (m_lexer.CheckInteger(integer))
        {
            value.AddIntValue(integer);
        }
        else if (m_lexer.CheckJsonBoolean(boolean))
        {
            value.AddBooleanValue(boolean);
        }
        else if (m_lexer.CheckChar('{'))
        {
            value.AddObject(ParseObject());
            m_lexer.GetChar('}');
        }
        else
        {
            return false;
        }
        return true;
    }

    ReferenceLexer m_lexer;
    bool m_allowDuplicates;
    int m_room;
};

// Escapes nothing unless something in the table is there; then the text ends at a NUL.
WString Quote(const WString& text)
{
    WString escaped = text;
    if (text.find_first_of(EscapedCharacters) != WString::npos)
    {
        escaped.clear();
        for (const WChar* unit = text.c_str(); *unit != 0; ++unit)
        {
            if (const std::size_t index = EscapedCharacters.find(*unit); index != WStringView::npos)
            {
                escaped += WString{'\\', EscapeLetters[index]};
            }
            else if (*unit < 20)
            {
                escaped += WString{
                    '\\', 'u', '0', '0', static_cast<WChar>('0' + *unit / 16), static_cast<WChar>('0' + *unit % 16)};
            }
            else
            {
                escaped.push_back(*unit);
            }
        }
    }
    return "\""_w + escaped + "\""_w;
}

template<class List, class Write>
WString Join(const List& list, Write write)
{
    WString result;
    for (const auto& element : list)
    {
        const WString text = write(element);
        result += (result.empty() || text.empty() ? ""_w : ","_w) + text;
    }
    return result;
}

WString WriteObject(const std::shared_ptr<DataObject>& object, bool skipNullOrEmpty)
{
    return object != nullptr ? EncodeByReference(*object, skipNullOrEmpty, false)
           : skipNullOrEmpty ? WString()
                             : WString("null"_w);
}

WString WriteValue(const DataValue& value, bool skipNullOrEmpty)
{
    const auto write = [&](const std::shared_ptr<DataObject>& object) {
        return WriteObject(object, skipNullOrEmpty);
    };
    if (value.IsArray())
    {
        return "["_w +
               (value.IsObjectArray() ? Join(value.GetObjectArray(), write) : Join(value.GetStringArray(), Quote)) +
               "]"_w;
    }
    if (value.IsNullValue())
    {
        return skipNullOrEmpty ? ""_w : "null"_w;
    }
    return value.IsStringValue() ? Quote(value.GetString())
           : value.IsObject()    ? write(value.GetObject())
                                 : value.GetString();
}

WString Digits(std::uint64_t number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

// With its length, so that nothing in it can be mistaken for what follows.
WString Counted(const WString& text)
{
    return Digits(text.size()) + "'"_w + text + "'"_w;
}

// Objects of the value are told by their number, and put off.
WString DescribeValue(const DataValue& value, std::deque<const DataObject*>& objects)
{
    WString result = value.IsArray() ? "array"_w : "value"_w;
    for (const bool answer :
         {value.IsNullValue(), value.IsEmpty(), value.IsEmptyArrayValue(), value.IsStringValue(), value.IsIntValue(),
          value.IsBoolean(), value.IsObject(), value.IsStringArray(), value.IsObjectArray(),
          value.GetBooleanValue(false), value.GetBooleanValue(true), value.GetObject() != nullptr})
    {
        result += answer ? "+"_w : "-"_w;
    }
    result += Digits(static_cast<unsigned>(value.GetIntValue(-7))) + "/"_w + Digits(value.GetUint64Value(7));
    result += Counted(value.GetStringValue()) + Counted(value.GetString());
    for (const WString& text : value.GetStringArray())
    {
        result += ","_w + Counted(text);
    }
    for (const auto& object : value.GetObjectArray())
    {
        result += ";"_w;
        objects.push_back(object.get());
    }
    if (!value.IsArray() && value.GetObject() != nullptr)
    {
        objects.push_back(value.GetObject().get());
    }
    return result;
}

} // namespace

ReferenceLexer::ReferenceLexer(Lexer::ReadLine readLine)
    : m_readLine(std::move(readLine))
{
}

bool ReferenceLexer::HasError() const
{
    return m_hasError;
}

void ReferenceLexer::SkipSpace()
{
    while (m_position < m_line.size() && Utilities::IsSpace(m_line[m_position]))
    {
        ++m_position;
    }
}

bool ReferenceLexer::IsNext(WChar unit) const
{
    return m_position < m_line.size() && m_line[m_position] == unit;
}

bool ReferenceLexer::ReadLineIfEmpty()
{
    if (m_hasError)
    {
        return false;
    }
    if (m_lastSkipPosition == m_position)
    {
        return true;
    }
    SkipSpace();
    if (m_position >= m_line.size())
    {
        const bool isRead = m_readLine(m_line);
        m_position = isRead ? 0 : m_line.size();
        SkipSpace();
        return isRead && m_position < m_line.size();
    }
    m_lastSkipPosition = m_position;
    return true;
}

bool ReferenceLexer::CheckChar(WChar unit)
{
    const bool isNext = ReadLineIfEmpty() && IsNext(unit);
    m_position += isNext ? 1 : 0;
    return isNext;
}

void ReferenceLexer::GetChar(WChar unit)
{
    m_hasError = !CheckChar(unit) || m_hasError;
}

bool ReferenceLexer::CheckString(WStringView text)
{
    if (!ReadLineIfEmpty() || m_line.compare(m_position, text.size(), text) != 0)
    {
        return false;
    }
    m_position += text.size();
    return true;
}

bool ReferenceLexer::CheckQuotedString(WString& text)
{
    if (!ReadLineIfEmpty() || !IsNext('"'))
    {
        return false;
    }
    text = GetQuotedString();
    return !std::exchange(m_hasError, false);
}

WString ReferenceLexer::GetQuotedString()
{
    GetChar('"');
    for (std::size_t at = m_position; !m_hasError && at < m_line.size(); ++at)
    {
        if (m_line[at] == '"')
        {
            const std::size_t begin = std::exchange(m_position, at + 1);
            return m_line.substr(begin, at - begin);
        }
        at += m_line[at] == '\\' ? 1 : 0;
    }
    m_hasError = true;
    return {};
}

WString ReferenceLexer::GetStringUntil(WChar unit)
{
    WString text;
    if (ReadLineIfEmpty())
    {
        while (m_position < m_line.size() && !IsNext(unit))
        {
            text.push_back(m_line[m_position++]);
        }
        m_position += m_position < m_line.size() ? 1 : 0;
    }
    return text;
}

bool ReferenceLexer::CheckInteger(IntegerToken& token)
{
    const WString text = ReadLineIfEmpty() ? TakeInteger() : WString();
    token = text.empty() ? token : IntegerToken(text);
    return !text.empty();
}

bool ReferenceLexer::CheckInteger(int& value)
{
    IntegerToken token;
    if (!CheckInteger(token))
    {
        return false;
    }
    const std::string narrow(token.GetText().begin(), token.GetText().end());
    value = static_cast<int>(std::clamp<long long>(std::strtoll(narrow.c_str(), nullptr, 10), INT_MIN, INT_MAX));
    return true;
}

IntegerToken ReferenceLexer::GetInteger()
{
    const WString text = ReadLineIfEmpty() ? TakeInteger() : WString();
    m_hasError = m_hasError || text.empty();
    return IntegerToken(text);
}

WString ReferenceLexer::TakeInteger()
{
    WString text;
    if (IsNext('+') || IsNext('-'))
    {
        text.push_back(m_line[m_position++]);
    }
    while (m_position < m_line.size() && Utilities::IsDigit(m_line[m_position]))
    {
        text.push_back(m_line[m_position++]);
    }
    return text;
}

bool ReferenceLexer::CheckJsonBoolean(BooleanToken& token)
{
    const bool isTrue = CheckString("true"_w);
    const bool isNext = isTrue || CheckString("false"_w);
    token = isNext ? BooleanToken(isTrue) : token;
    return isNext;
}

std::shared_ptr<DataObject> DecodeByReference(WStringView text, bool allowDuplicates, int maxDepth)
{
    return ReferenceReader(text, allowDuplicates, maxDepth).Read();
}

WString EncodeByReference(const DataObject& object, bool skipNullOrEmpty, bool isSorted)
{
    std::vector<WString> entries;
    for (const auto& [key, value] : object.GetValueMap())
    {
        if (!skipNullOrEmpty || !(value.IsEmpty() || value.IsNullValue()))
        {
            entries.push_back(Quote(key) + ":"_w + WriteValue(value, skipNullOrEmpty));
        }
    }
    if (isSorted)
    {
        std::reverse(entries.begin(), entries.end());
    }
    return "{"_w + Join(entries, [](const WString& entry) { return entry; }) + "}"_w;
}

WString Describe(const DataObject* object)
{
    WString result;
    for (std::deque<const DataObject*> objects = {object}; !objects.empty(); objects.pop_front())
    {
        if (objects.front() == nullptr)
        {
            result += "null"_w;
            continue;
        }
        result += "{"_w;
        for (const auto& [key, value] : objects.front()->GetValueMap())
        {
            result += Counted(key) + ":"_w + DescribeValue(value, objects) + " "_w;
        }
        result += "}"_w;
    }
    return result;
}

} // namespace Quoll::Tests
