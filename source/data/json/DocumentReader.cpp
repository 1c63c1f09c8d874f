#include "data/json/DocumentReader.h"

#include "data/json/Escapes.h"
#include "data/json/TokenScan.h"
#include "data/json/UnitSearch.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace Quoll::Json
{

DocumentReader::DocumentReader(WStringView text, bool allowDuplicates) noexcept
    : m_begin(text.data())
    , m_next(m_begin)
    , m_end(text.data() + text.size())
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

// Takes the text behind an opening quote and its closing one. Null if there is none.
inline const WChar* DocumentReader::TakeText(const WChar* next)
{
    // Most texts are short and have no escape.
    if (m_end - next >= BlockSize)
    {
        const unsigned found = CopyBlock(next, m_builder.GetTextRoom(BlockSize));
        const auto count = std::countr_zero(found);
        if (found != 0 && next[count] == '"')
        {
            m_builder.WriteText(static_cast<std::size_t>(count));
            return next + count + 1;
        }
    }
    return TakeLongText(next);
}

const WChar* DocumentReader::TakeLongText(const WChar* begin)
{
    for (const WChar* next = begin; m_end - next >= BlockSize;)
    {
        const unsigned found = CopyBlock(next, m_builder.GetTextRoom(BlockSize));
        const auto count = found != 0 ? std::countr_zero(found) : BlockSize;
        m_builder.WriteText(static_cast<std::size_t>(count));
        next += count;
        if (found == 0)
        {
            continue;
        }
        if (*next == '"')
        {
            return next + 1;
        }
        if (m_end - next < 2 || next[1] == 'u')
        {
            break;
        }
        if (const WChar unit = Utilities::FindMaskedUnit(next[1]); unit != 0)
        {
            *m_builder.GetTextRoom(1) = unit;
            m_builder.WriteText(1);
        }
        next += 2;
    }
    m_builder.DropText();
    return TakeRareText(begin);
}

// For the last units of the document, and for escapes with digits: these are looked at when the end of the
// string is known.
const WChar* DocumentReader::TakeRareText(const WChar* begin)
{
    const QuotedText quoted = FindClosingQuote(begin, m_end);
    if (quoted.end == nullptr)
    {
        return nullptr;
    }
    const WStringView text(begin, quoted.end);
    m_builder.WriteText(Utilities::Unescape(text, m_builder.GetTextRoom(text.size())));
    return quoted.end + 1;
}

// Begins at a sign or a digit.
inline const WChar* DocumentReader::TakeInteger(const WChar* next)
{
    *m_builder.GetTextRoom(1) = *next++;
    m_builder.WriteText(1);
    while (m_end - next >= BlockSize)
    {
        const unsigned found = CopyDigits(next, m_builder.GetTextRoom(BlockSize));
        const auto count = found != 0 ? std::countr_zero(found) : BlockSize;
        m_builder.WriteText(static_cast<std::size_t>(count));
        next += count;
        if (found != 0)
        {
            return next;
        }
    }
    for (; Utilities::IsDigit(GetUnit(next)); ++next)
    {
        *m_builder.GetTextRoom(1) = *next;
        m_builder.WriteText(1);
    }
    return next;
}

// Takes the word if it is there; otherwise the place stays.
inline const WChar* DocumentReader::TakeWord(const WChar* next, WStringView word) const noexcept
{
    return WStringView(next, m_end).starts_with(word) ? next + word.size() : next;
}

// Takes a string, an integer or a boolean; the type is null if there is none. Of a string that no
// quote ends just the opening quote is taken, and what stands behind it may be a value.
inline DocumentReader::Scalar DocumentReader::TakeScalar(const WChar* next)
{
    WChar unit = GetUnit(next);
    if (unit == '"')
    {
        ++next;
        if (const WChar* const behind = TakeText(next))
        {
            return {behind, EType::String};
        }
        next = SkipToToken(next);
        unit = GetUnit(next);
    }
    if (Utilities::IsDigit(unit) || unit == '+' || unit == '-')
    {
        return {TakeInteger(next), EType::Integer};
    }
    return TakeBoolean(next);
}

DocumentReader::Scalar DocumentReader::TakeBoolean(const WChar* next)
{
    const WStringView word = GetUnit(next) == 't' ? WStringView("true"_w) : WStringView("false"_w);
    const WChar* const behind = TakeWord(next, word);
    if (behind == next)
    {
        return {next, EType::Null};
    }
    std::copy(word.begin(), word.end(), m_builder.GetTextRoom(word.size()));
    m_builder.WriteText(word.size());
    return {behind, EType::Boolean};
}

// Duplicate keys are looked for when an object closes, so a fault that is found earlier asks for the
// objects that are open: of the faults the first in the text counts.
std::shared_ptr<DataObject> DocumentReader::Read()
{
    try
    {
        if (CheckUnit('{'))
        {
            m_builder.OpenObject();
            for (Step step = Step::Member; step != Step::EndOfDocument;)
            {
                step = Run(step);
                if (step == Step::Failure)
                {
                    m_builder.CheckOpenObjects();
                    break;
                }
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

DocumentReader::Step DocumentReader::Run(Step step)
{
    switch (step)
    {
    case Step::Member:
        return ReadMembers();
    case Step::Element:
        return ReadElements();
    case Step::EndOfArray:
        return ReadEndOfArray();
    case Step::EndOfObject:
        return ReadEndOfObject();
    default:
        return step;
    }
}

DocumentReader::Step DocumentReader::ReadMembers()
{
    for (const WChar* next = m_next;; ++next)
    {
        next = SkipToToken(next);
        if (GetUnit(next) != '"')
        {
            return GoOn(next, Step::EndOfObject);
        }
        const WChar* const behind = TakeText(++next);
        if (behind == nullptr)
        {
            return GoOn(next, Step::EndOfObject);
        }
        m_builder.AddKey();
        next = SkipToToken(behind);
        if (GetUnit(next) != ':')
        {
            return GoOn(next, Step::Failure);
        }
        next = SkipToToken(next + 1);
        switch (GetUnit(next))
        {
        case '{':
            m_builder.OpenObject();
            return GoOn(next + 1, Step::Member);
        case '[':
            m_builder.OpenArray();
            return GoOn(next + 1, Step::Element);
        default:
            next = SkipToToken(ReadScalar(next));
        }
        if (GetUnit(next) != ',')
        {
            return GoOn(next, Step::EndOfObject);
        }
    }
}

// A value that is missing is no fault.
inline const WChar* DocumentReader::ReadScalar(const WChar* next)
{
    const Scalar scalar = TakeScalar(next);
    if (scalar.type != EType::Null)
    {
        m_builder.SetText(scalar.type);
        return scalar.behind;
    }
    const WChar* const behind = TakeWord(scalar.behind, "null"_w);
    if (behind != scalar.behind)
    {
        m_builder.SetNull();
    }
    return behind;
}

// So is an element that is missing.
DocumentReader::Step DocumentReader::ReadElements()
{
    const WChar* next = m_next;
    for (;; ++next)
    {
        next = SkipToToken(next);
        const Scalar scalar = TakeScalar(next);
        next = scalar.behind;
        if (scalar.type != EType::Null)
        {
            m_builder.AddText(scalar.type);
        }
        else if (GetUnit(next) == '{')
        {
            m_builder.OpenObject();
            return GoOn(next + 1, Step::Member);
        }
        next = SkipToToken(next);
        if (GetUnit(next) != ',')
        {
            return GoOn(next, Step::EndOfArray);
        }
    }
}

DocumentReader::Step DocumentReader::ReadEndOfArray()
{
    m_builder.CloseArray();
    return CheckUnit(']') ? ReadSeparator(Step::Member, Step::EndOfObject) : Step::Failure;
}

DocumentReader::Step DocumentReader::ReadEndOfObject()
{
    if (!CheckUnit('}'))
    {
        return Step::Failure;
    }
    const bool isInArray = m_builder.IsInArray();
    std::shared_ptr<DataObject> object = m_builder.CloseObject();
    if (m_builder.GetDepth() == 0)
    {
        m_root = std::move(object);
        return Step::EndOfDocument;
    }
    if (isInArray)
    {
        m_builder.AddObject(std::move(object));
        return ReadSeparator(Step::Element, Step::EndOfArray);
    }
    m_builder.SetObject(std::move(object));
    return ReadSeparator(Step::Member, Step::EndOfObject);
}

bool DocumentReader::CheckUnit(WChar unit) noexcept
{
    m_next = SkipToToken(m_next);
    const bool isThere = GetUnit(m_next) == unit;
    m_next += isThere ? 1 : 0;
    return isThere;
}

DocumentReader::Step DocumentReader::ReadSeparator(Step next, Step end) noexcept
{
    return CheckUnit(',') ? next : end;
}

inline DocumentReader::Step DocumentReader::GoOn(const WChar* next, Step step) noexcept
{
    m_next = next;
    return step;
}

} // namespace Quoll::Json
