#include "data/json/DocumentWriter.h"

#include "data/json/ValueContent.h"

#include <algorithm>

namespace Quoll::Json
{

using namespace Literals;

void DocumentWriter::Write(const DataObject& object)
{
    OpenObject(object);
    WriteOpen();
}

void DocumentWriter::WriteSorted(const DataObject& object)
{
    const ValueMap& entries = object.GetValueMap();
    bool needsComma = false;
    m_text.Append('{');
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
    {
        WriteEntry(WStringView(entry->first), entry->second, needsComma);
        WriteOpen();
    }
    m_text.Append('}');
}

// Nested objects are written in the order of their keys, which isn't that of memory.
inline void DocumentWriter::FetchObjects(const ValueMap& entries) noexcept
{
    constexpr std::size_t most = 16;
    for (std::size_t i = 0; i < std::min(entries.m_readObjectCount, most); ++i)
    {
        if (const DataObject* const nested = entries.m_readObjects[i].get())
        {
            __builtin_prefetch(nested);
            __builtin_prefetch(nested + 1);
        }
    }
}

void DocumentWriter::OpenObject(const DataObject& object)
{
    m_text.Append('{');
    const ValueMap& entries = object.GetValueMap();
    FetchObjects(entries);
    m_open.Push(Open{&entries, nullptr, entries.size(), false});
    if (entries.m_added != nullptr)
    {
        m_mixed.Push(entries.begin());
    }
}

void DocumentWriter::WriteOpen()
{
    while (m_open.GetSize() != 0)
    {
        const Open& open = m_open.GetTop();
        if (open.map == nullptr)
        {
            WriteNextElement();
        }
        else if (open.map->m_added == nullptr)
        {
            WriteEntries();
        }
        else
        {
            WriteMixedEntries();
        }
    }
}

// Up to the first that opens another object or array, or to the end.
void DocumentWriter::WriteEntries()
{
    const std::size_t depth = m_open.GetSize();
    const ValueMap& map = *m_open.GetTop().map;
    std::size_t left = m_open.GetTop().left;
    bool needsComma = m_open.GetTop().needsComma;
    for (const auto* entry = map.m_read + (map.m_readCount - left); left != 0; ++entry)
    {
        --left;
        WriteEntry(PaddedText(entry->first.data(), entry->first.size()), entry->second, needsComma);
        if (m_open.GetSize() != depth)
        {
            m_open[depth - 1].left = left;
            m_open[depth - 1].needsComma = needsComma;
            return;
        }
    }
    m_text.Append('}');
    m_open.Shrink(depth - 1);
}

// The same for an object that more was added to.
void DocumentWriter::WriteMixedEntries()
{
    const std::size_t depth = m_open.GetSize();
    while (m_open.GetTop().left != 0)
    {
        Open& object = m_open.GetTop();
        const ValueMap::value_type& entry = *m_mixed.GetTop();
        ++m_mixed.GetTop();
        --object.left;
        WriteEntry(WStringView(entry.first), entry.second, object.needsComma);
        if (m_open.GetSize() != depth)
        {
            return;
        }
    }
    m_text.Append('}');
    m_open.Shrink(depth - 1);
    m_mixed.Shrink(m_mixed.GetSize() - 1);
}

void DocumentWriter::WriteNextElement()
{
    Open& array = m_open.GetTop();
    if (array.left == 0)
    {
        m_text.Append(']');
        m_open.Shrink(m_open.GetSize() - 1);
        return;
    }
    --array.left;
    const DataObject* const element = (array.element++)->get();
    if (element == nullptr && m_skipNullOrEmpty)
    {
        return;
    }
    if (array.needsComma)
    {
        m_text.Append(',');
    }
    array.needsComma = true;
    WriteObject(element);
}

inline bool DocumentWriter::IsSkipped(const DataValue& value) const noexcept
{
    return m_skipNullOrEmpty && (value.IsEmpty() || value.IsNullValue());
}

template<class Text>
inline void DocumentWriter::WriteEntry(Text key, const DataValue& value, bool& needsComma)
{
    if (IsSkipped(value))
    {
        return;
    }
    m_text.AppendKey(key, needsComma);
    needsComma = true;
    WriteValue(value);
}

inline void DocumentWriter::WriteValue(const DataValue& value)
{
    if (!ValueContent::IsReadText(value))
    {
        WriteRareValue(value);
        return;
    }
    const PaddedText text = ValueContent::GetReadText(value);
    if (value.IsStringValue())
    {
        m_text.AppendQuoted(text);
    }
    else
    {
        m_text.Append(text);
    }
}

// A value that holds no text, or one that wasn't read.
void DocumentWriter::WriteRareValue(const DataValue& value)
{
    if (value.IsArray())
    {
        WriteArray(value);
        return;
    }
    const ValueContent content(value);
    if (value.IsNullValue())
    {
        WriteObject(nullptr);
    }
    else if (value.IsObject())
    {
        WriteObject(content.CountObjects() != 0 ? content.GetObject(0).get() : nullptr);
    }
    else if (value.IsStringValue())
    {
        m_text.AppendQuoted(content.CountTexts() != 0 ? content.GetText(0) : WStringView());
    }
    else if (content.CountTexts() != 0 && (value.IsIntValue() || value.IsBoolean()))
    {
        m_text.Append(content.GetText(0));
    }
}

void DocumentWriter::WriteObject(const DataObject* object)
{
    if (object != nullptr)
    {
        OpenObject(*object);
    }
    else if (!m_skipNullOrEmpty)
    {
        m_text.Append("null"_w);
    }
}

void DocumentWriter::WriteArray(const DataValue& value)
{
    const ValueContent content(value);
    m_text.Append('[');
    if (value.IsObjectArray() && content.CountObjects() != 0)
    {
        m_open.Push(Open{nullptr, &content.GetObject(0), content.CountObjects(), false});
        return;
    }
    const std::size_t texts = value.IsObjectArray() ? 0 : content.CountTexts();
    for (std::size_t i = 0; i < texts; ++i)
    {
        if (i != 0)
        {
            m_text.Append(',');
        }
        m_text.AppendQuoted(content.GetText(i));
    }
    m_text.Append(']');
}

} // namespace Quoll::Json
