#include "data/json/DocumentReader.h"

#include "data/json/Escapes.h"
#include "data/json/TokenScan.h"
#include "data/json/UnitSearch.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Quoll::Json
{

DocumentReader::DocumentReader(WStringView text, bool allowDuplicates) noexcept
    : m_begin(text.data())
    , m_next(m_begin)
    , m_end(text.data() + text.size())
    , m_lastBlocks(m_end - std::min<std::ptrdiff_t>(m_end - m_begin, BlockSize - 1))
    , m_builder(allowDuplicates, text.size())
{
}

// The operations take the place of a token, and answer that of the next: what is kept in registers
// needn't be read again whenever a text was written.

inline const WChar* DocumentReader::SkipToToken(const WChar* next) const noexcept
{
    return SkipSpace(next, m_end);
}

// The unit at the place; NUL at the end of the text, as no token begins with one.
inline WChar DocumentReader::GetUnit(const WChar* next) const noexcept
{
    return next != m_end ? *next : WChar{0};
}

// Whether the next token is the unit. The place moves up to that token.
inline bool DocumentReader::IsNext(const WChar*& next, WChar unit) const noexcept
{
    if (GetUnit(next) == unit)
    {
        return true; // as in text without white space
    }
    next = SkipToToken(next);
    return GetUnit(next) == unit;
}

// Takes the text behind an opening quote and its closing one.
inline DocumentReader::Token DocumentReader::TakeText(const WChar* next)
{
    WChar* const room = m_builder.GetTextRoom(BlockSize);
    if (next >= m_lastBlocks) [[unlikely]]
    {
        return m_end - m_begin < BlockSize ? TakeRareText(next) : TakeLongText(next, CopyLastUnits(next, room));
    }
    // Most texts are short and have no escape.
    const unsigned found = CopyBlock(next, room);
    const auto count = std::countr_zero(found);
    if (found != 0 && next[count] == '"') [[likely]]
    {
        return {next + count + 1, static_cast<std::size_t>(count)};
    }
    return TakeLongText(next, found);
}

// CopyBlock for fewer units, as if a quote came behind them.
unsigned DocumentReader::CopyLastUnits(const WChar* next, WChar* to) const noexcept
{
    std::copy(next, m_end, to);
    WChar ignored[BlockSize];
    const auto count = m_end - next;
    return CopyBlock(m_end - BlockSize, ignored) >> (BlockSize - count) | 1u << count;
}

// The first block is copied, and what was found in it is known.
DocumentReader::Token DocumentReader::TakeLongText(const WChar* next, unsigned found)
{
    const WChar* const begin = next;
    std::size_t size = 0;
    for (WChar* to = m_builder.GetTextRoom(BlockSize);;)
    {
        const auto count = found != 0 ? std::countr_zero(found) : BlockSize;
        next += count;
        to += count;
        size += static_cast<std::size_t>(count);
        if (found != 0)
        {
            if (next == m_end || *next == '"' || m_end - next < 2 || next[1] == 'u')
            {
                break;
            }
            const WChar unit = Utilities::FindMaskedUnit(next[1]);
            *to = unit;
            to += unit != 0 ? 1 : 0;
            size += unit != 0 ? 1 : 0;
            next += 2;
        }
        to = m_builder.GetTextRoom(to, BlockSize);
        // What was found behind the escape is known already, and no reason to wait for the next block.
        const unsigned known = found >> count >> 2;
        if (next >= m_lastBlocks)
        {
            found = CopyLastUnits(next, to);
        }
        else if (known == 0)
        {
            found = CopyBlock(next, to);
        }
        else
        {
            std::memcpy(to, next, BlockSize * sizeof(WChar));
            found = known;
        }
    }
    return next != m_end && *next == '"' ? Token{next + 1, size} : TakeRareText(begin);
}

// Escapes with digits are looked at when the end of the string is known.
DocumentReader::Token DocumentReader::TakeRareText(const WChar* begin)
{
    const QuotedText quoted = FindClosingQuote(begin, m_end);
    if (quoted.end == nullptr)
    {
        return {};
    }
    const WStringView text(begin, quoted.end);
    return {quoted.end + 1, Utilities::Unescape(text, m_builder.GetTextRoom(text.size()))};
}

// Begins at a sign or a digit.
inline DocumentReader::Token DocumentReader::TakeInteger(const WChar* next)
{
    if (next < m_lastBlocks) [[likely]]
    {
        const unsigned found = CopyDigits(next, m_builder.GetTextRoom(BlockSize)) & ~1u;
        if (found != 0) [[likely]]
        {
            const auto count = std::countr_zero(found);
            return {next + count, static_cast<std::size_t>(count)};
        }
    }
    const WChar* const end = SkipInteger(next, m_end);
    const auto size = static_cast<std::size_t>(end - next);
    std::copy(next, end, m_builder.GetTextRoom(size));
    return {end, size};
}

// Behind the word, if it is there.
inline const WChar* DocumentReader::TakeWord(const WChar* next, WStringView word) const noexcept
{
    return WStringView(next, m_end).starts_with(word) ? next + word.size() : next;
}

// Whether there is a string behind the quote. If no other ends it, the place stays behind the quote, and what
// comes there may be another value.
template<class Add>
inline bool DocumentReader::TakeString(const WChar*& next, Add add)
{
    const Token text = TakeText(++next);
    if (text.behind == nullptr) [[unlikely]]
    {
        next = SkipToToken(next);
        return false;
    }
    add(EType::String, text.size);
    next = text.behind;
    return true;
}

// Behind an integer or a boolean, if there is one.
template<class Add>
inline const WChar* DocumentReader::TakeNumberOrBoolean(const WChar* next, WChar unit, Add add)
{
    if (Utilities::IsDigit(unit) || unit == '+' || unit == '-')
    {
        const Token number = TakeInteger(next);
        add(EType::Integer, number.size);
        return number.behind;
    }
    return unit == 't' || unit == 'f' ? TakeBoolean(next, add) : next;
}

template<class Add>
inline const WChar* DocumentReader::TakeBoolean(const WChar* next, Add add)
{
    const WStringView word = GetUnit(next) == 't' ? WStringView("true"_w) : WStringView("false"_w);
    const WChar* const behind = TakeWord(next, word);
    if (behind != next)
    {
        std::copy(word.begin(), word.end(), m_builder.GetTextRoom(word.size()));
        add(EType::Boolean, word.size());
    }
    return behind;
}

// Duplicate keys are looked for when an object closes, so a fault that is found earlier asks for the
// objects that are open: of the faults the first in the text counts.
std::shared_ptr<DataObject> DocumentReader::Read()
{
    try
    {
        if (IsNext(m_next, '{'))
        {
            m_builder.OpenObject();
            Place place{m_next + 1, Step::Member};
            while (place.step < Step::EndOfDocument)
            {
                place = Run(place);
            }
            m_next = place.next;
            if (place.step == Step::Failure)
            {
                m_builder.CheckOpenObjects();
            }
        }
    }
    catch (...)
    {
        m_builder.CheckOpenObjects();
        throw;
    }
    return std::move(m_root);
}

inline DocumentReader::Place DocumentReader::Run(Place place)
{
    switch (place.step)
    {
    case Step::Member:
        return ReadMembers(place.next);
    case Step::Element:
        return ReadElements(place.next);
    case Step::EndOfArray:
        return ReadEndOfArray(place.next);
    case Step::EndOfObject:
        return ReadEndOfObject(place.next);
    default:
        return place;
    }
}

DocumentReader::Place DocumentReader::ReadMembers(const WChar* next)
{
    for (;; ++next)
    {
        if (!IsNext(next, '"'))
        {
            return {next, Step::EndOfObject};
        }
        const Token key = TakeText(++next);
        if (key.behind == nullptr)
        {
            return {next, Step::EndOfObject};
        }
        m_builder.AddKey(key.size);
        next = key.behind;
        if (!IsNext(next, ':'))
        {
            return {next, Step::Failure};
        }
        next = SkipToToken(next + 1);
        const WChar unit = GetUnit(next);
        if (unit == '{')
        {
            m_builder.OpenObject();
            continue;
        }
        if (unit == '[')
        {
            m_builder.OpenArray();
            const Place end = ReadElements(next + 1);
            next = end.next;
            if (end.step != Step::EndOfArray)
            {
                return end;
            }
            if (!CloseArray(next))
            {
                return {next, Step::Failure};
            }
        }
        else
        {
            next = ReadValue(next, unit);
        }
        if (!IsNext(next, ','))
        {
            return {next, Step::EndOfObject};
        }
    }
}

// A value that is missing is no fault. It begins with the unit.
inline const WChar* DocumentReader::ReadValue(const WChar* next, WChar unit)
{
    const auto set = [this](EType type, std::size_t size) {
        m_builder.SetText(type, size);
    };
    if (unit == '"')
    {
        if (TakeString(next, set))
        {
            return next;
        }
        unit = GetUnit(next);
    }
    if (unit != 'n')
    {
        return TakeNumberOrBoolean(next, unit, set);
    }
    const WChar* const behind = TakeWord(next, "null"_w);
    if (behind != next)
    {
        m_builder.SetNull();
    }
    return behind;
}

// So is an element that is missing.
DocumentReader::Place DocumentReader::ReadElements(const WChar* next)
{
    const auto add = [this](EType type, std::size_t size) {
        m_builder.AddText(type, size);
    };
    for (;; ++next)
    {
        next = SkipToToken(next);
        if (GetUnit(next) != '"' || !TakeString(next, add))
        {
            const WChar unit = GetUnit(next);
            if (unit == '{')
            {
                m_builder.OpenObject();
                return {next + 1, Step::Member};
            }
            next = TakeNumberOrBoolean(next, unit, add);
        }
        if (!IsNext(next, ','))
        {
            return {next, Step::EndOfArray};
        }
    }
}

// Behind the bracket, if it is there.
inline bool DocumentReader::CloseArray(const WChar*& next) noexcept
{
    m_builder.CloseArray();
    const bool isClosed = IsNext(next, ']');
    next += isClosed ? 1 : 0;
    return isClosed;
}

inline DocumentReader::Place DocumentReader::ReadEndOfArray(const WChar* next)
{
    if (!CloseArray(next))
    {
        return {next, Step::Failure};
    }
    return ReadSeparator(next, Step::Member, Step::EndOfObject);
}

DocumentReader::Place DocumentReader::ReadEndOfObject(const WChar* next)
{
    if (!IsNext(next, '}'))
    {
        return {next, Step::Failure};
    }
    ++next;
    const bool isInArray = m_builder.IsInArray();
    std::shared_ptr<DataObject> object = m_builder.CloseObject();
    if (m_builder.GetDepth() == 0)
    {
        m_root = std::move(object);
        return {next, Step::EndOfDocument};
    }
    if (isInArray)
    {
        m_builder.AddObject(std::move(object));
        return ReadSeparator(next, Step::Element, Step::EndOfArray);
    }
    m_builder.SetObject(std::move(object));
    return ReadSeparator(next, Step::Member, Step::EndOfObject);
}

inline DocumentReader::Place DocumentReader::ReadSeparator(const WChar* next, Step going, Step end) const noexcept
{
    const bool isGoing = IsNext(next, ',');
    return {next + (isGoing ? 1 : 0), isGoing ? going : end};
}

} // namespace Quoll::Json
