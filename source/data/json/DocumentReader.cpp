#include "data/json/DocumentReader.h"

#include "data/json/Escapes.h"
#include "data/json/TokenScan.h"

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

// Takes a string, and gives the builder its text and tells the size of that. Of a string that no quote
// ends just the opening quote is taken.
inline bool DocumentReader::CheckQuotedText(std::size_t& size)
{
    if (!CheckUnit('"'))
    {
        return false;
    }
    // Most texts are short and have no escape.
    if (m_end - m_next >= BlockSize)
    {
        const unsigned found = CopyBlock(m_next, m_builder.GetTextRoom(BlockSize));
        const auto first = std::countr_zero(found);
        if (found != 0 && m_next[first] == '"')
        {
            m_next += first + 1;
            size = static_cast<std::size_t>(first);
            return true;
        }
    }
    return CheckLongText(size);
}

bool DocumentReader::CheckLongText(std::size_t& size)
{
    const QuotedText quoted = FindClosingQuote(m_next, m_end);
    if (quoted.end == nullptr)
    {
        return false;
    }
    const WStringView text(m_next, quoted.end);
    m_next = quoted.end + 1;
    if (quoted.isEscaped)
    {
        size = Utilities::Unescape(text, m_builder.GetTextRoom(text.size()));
    }
    else
    {
        size = text.size();
        CopyUnits(text, m_end, m_builder.GetTextRoom(size));
    }
    return true;
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
            for (Step step = Step::Key; step != Step::EndOfDocument;)
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
    case Step::Key:
        return ReadKey();
    case Step::Element:
        return ReadElement();
    case Step::EndOfArray:
        return ReadEndOfArray();
    case Step::EndOfObject:
        return ReadEndOfObject();
    default:
        return step;
    }
}

DocumentReader::Step DocumentReader::ReadKey()
{
    std::size_t size = 0;
    if (!CheckQuotedText(size))
    {
        return Step::EndOfObject;
    }
    m_builder.AddKey(size);
    return CheckUnit(':') ? ReadValue() : Step::Failure;
}

// A value that is missing is no fault.
DocumentReader::Step DocumentReader::ReadValue()
{
    const WChar unit = PeekUnit();
    if (unit == '{')
    {
        ++m_next;
        m_builder.OpenObject();
        return Step::Key;
    }
    if (unit == '[')
    {
        ++m_next;
        m_builder.OpenArray();
        return Step::Element;
    }
    if (std::size_t size = 0; CheckQuotedText(size))
    {
        m_builder.SetText(size, EType::String);
    }
    else if (const EType type = CheckWord(size); type != EType::Null)
    {
        m_builder.SetText(size, type);
    }
    else if (CheckString("null"_w))
    {
        m_builder.SetNull();
    }
    return CheckUnit(',') ? Step::Key : Step::EndOfObject;
}

// So is an element that is missing.
DocumentReader::Step DocumentReader::ReadElement()
{
    do
    {
        if (std::size_t size = 0; CheckQuotedText(size))
        {
            m_builder.AddText(size, EType::String);
        }
        else if (const EType type = CheckWord(size); type != EType::Null)
        {
            m_builder.AddText(size, type);
        }
        else if (CheckUnit('{'))
        {
            m_builder.OpenObject();
            return Step::Key;
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
    return CheckUnit(',') ? Step::Key : Step::EndOfObject;
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
    return CheckUnit(',') ? Step::Key : Step::EndOfObject;
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

// Takes an integer or a boolean as CheckQuotedText takes a string; the type is null if there is neither.
EType DocumentReader::CheckWord(std::size_t& size)
{
    PeekUnit();
    const WChar* const begin = m_next;
    EType type = EType::Integer;
    m_next = SkipInteger(m_next, m_end);
    if (m_next == begin)
    {
        type = CheckString("true"_w) || CheckString("false"_w) ? EType::Boolean : EType::Null;
    }
    size = static_cast<std::size_t>(m_next - begin);
    CopyUnits(WStringView(begin, m_next), m_end, m_builder.GetTextRoom(size));
    return type;
}

} // namespace Quoll::Json
