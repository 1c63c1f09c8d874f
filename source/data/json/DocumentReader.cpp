#include "data/json/DocumentReader.h"

#include "data/json/Escapes.h"
#include "data/json/TokenScan.h"

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

// The first unit of the next token; NUL at the end of the text, as no token begins with one.
inline WChar DocumentReader::PeekUnit() noexcept
{
    m_next = SkipSpace(m_next, m_end);
    return m_next != m_end ? *m_next : WChar{0};
}

inline bool DocumentReader::CheckUnit(WChar unit) noexcept
{
    if (PeekUnit() != unit)
    {
        return false;
    }
    ++m_next;
    return true;
}

// Takes a string, and gives the builder its text. Of a string that no quote ends just the opening
// quote is taken.
inline bool DocumentReader::CheckQuotedText()
{
    return CheckUnit('"') && TakeText();
}

// Behind the opening quote.
inline bool DocumentReader::TakeText()
{
    // Most texts are short and have no escape.
    if (m_end - m_next >= BlockSize)
    {
        const unsigned found = CopyBlock(m_next, m_builder.GetTextRoom(BlockSize));
        const auto count = std::countr_zero(found);
        if (found != 0 && m_next[count] == '"')
        {
            m_builder.WriteText(static_cast<std::size_t>(count));
            m_next += count + 1;
            return true;
        }
    }
    return TakeLongText();
}

bool DocumentReader::TakeLongText()
{
    const WChar* next = m_next;
    while (m_end - next >= BlockSize)
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
            m_next = next + 1;
            return true;
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
    return TakeRareText();
}

// For the last units of the document, and for escapes with digits: these are looked at when the end of the
// string is known.
bool DocumentReader::TakeRareText()
{
    const QuotedText quoted = FindClosingQuote(m_next, m_end);
    if (quoted.end == nullptr)
    {
        return false;
    }
    const WStringView text(m_next, quoted.end);
    m_next = quoted.end + 1;
    m_builder.WriteText(Utilities::Unescape(text, m_builder.GetTextRoom(text.size())));
    return true;
}

bool DocumentReader::CheckString(WStringView text) noexcept
{
    PeekUnit();
    if (!WStringView(m_next, m_end).starts_with(text))
    {
        return false;
    }
    m_next += text.size();
    return true;
}

// Begins at a sign or a digit.
inline void DocumentReader::TakeInteger()
{
    *m_builder.GetTextRoom(1) = *m_next++;
    m_builder.WriteText(1);
    while (m_end - m_next >= BlockSize)
    {
        const unsigned found = CopyDigits(m_next, m_builder.GetTextRoom(BlockSize));
        const auto count = found != 0 ? std::countr_zero(found) : BlockSize;
        m_builder.WriteText(static_cast<std::size_t>(count));
        m_next += count;
        if (found != 0)
        {
            return;
        }
    }
    for (; m_next != m_end && Utilities::IsDigit(*m_next); ++m_next)
    {
        *m_builder.GetTextRoom(1) = *m_next;
        m_builder.WriteText(1);
    }
}

// Takes an integer or a boolean as CheckQuotedText takes a string; the type is null if there is neither.
inline EType DocumentReader::CheckWord()
{
    const WChar unit = PeekUnit();
    if (Utilities::IsDigit(unit) || unit == '+' || unit == '-')
    {
        TakeInteger();
        return EType::Integer;
    }
    if (unit == 't' || unit == 'f')
    {
        const WStringView word = unit == 't' ? WStringView("true"_w) : WStringView("false"_w);
        if (CheckString(word))
        {
            std::copy(word.begin(), word.end(), m_builder.GetTextRoom(word.size()));
            m_builder.WriteText(word.size());
            return EType::Boolean;
        }
    }
    return EType::Null;
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
    do
    {
        if (!CheckQuotedText())
        {
            return Step::EndOfObject;
        }
        m_builder.AddKey();
        if (!CheckUnit(':'))
        {
            return Step::Failure;
        }
        switch (PeekUnit())
        {
        case '{':
            ++m_next;
            m_builder.OpenObject();
            return Step::Member;
        case '[':
            ++m_next;
            m_builder.OpenArray();
            return Step::Element;
        default:
            ReadScalar();
        }
    } while (CheckUnit(','));
    return Step::EndOfObject;
}

// A value that is missing is no fault.
inline void DocumentReader::ReadScalar()
{
    if (CheckQuotedText())
    {
        m_builder.SetText(EType::String);
    }
    else if (const EType type = CheckWord(); type != EType::Null)
    {
        m_builder.SetText(type);
    }
    else if (CheckString("null"_w))
    {
        m_builder.SetNull();
    }
}

// So is an element that is missing.
DocumentReader::Step DocumentReader::ReadElements()
{
    do
    {
        if (CheckQuotedText())
        {
            m_builder.AddText(EType::String);
        }
        else if (const EType type = CheckWord(); type != EType::Null)
        {
            m_builder.AddText(type);
        }
        else if (CheckUnit('{'))
        {
            m_builder.OpenObject();
            return Step::Member;
        }
    } while (CheckUnit(','));
    return Step::EndOfArray;
}

DocumentReader::Step DocumentReader::ReadEndOfArray()
{
    m_builder.CloseArray();
    if (!CheckUnit(']'))
    {
        return Step::Failure;
    }
    return CheckUnit(',') ? Step::Member : Step::EndOfObject;
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
        return CheckUnit(',') ? Step::Element : Step::EndOfArray;
    }
    m_builder.SetObject(std::move(object));
    return CheckUnit(',') ? Step::Member : Step::EndOfObject;
}

} // namespace Quoll::Json
